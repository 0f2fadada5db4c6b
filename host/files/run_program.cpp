#include "files/run_program.h"

#include "app/errors.h"

#ifndef _WIN32
#include <spawn.h>
#include <sys/wait.h>
#include <csignal>

#include <cstring>
extern char** environ;
#endif

namespace telvar_host {

#ifdef _WIN32
void run_program(const std::string& program, const std::vector<std::string>&, const std::string&) {
  throw failure("cannot run " + program + " on this platform");
}
#else
void run_program(const std::string& program, const std::vector<std::string>& arguments,
                 const std::string& package) {
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // This program's threads block the signals they wait for; the child must not.
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  // Nor may it go on writing into a closed pipe, as this program may.
  sigset_t restored;
  sigemptyset(&restored);
  sigaddset(&restored, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &restored);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, program.c_str(), nullptr, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    throw failure("cannot run " + program + ": " + std::strerror(error) +
                  "; install Debian's package " + package);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw failure(program + " failed");
}
#endif

}  // namespace telvar_host

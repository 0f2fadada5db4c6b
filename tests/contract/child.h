#pragma once

// Work in a process of its own, made by fork.

#if !defined(_WIN32)

#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>

namespace child {

/// How `work` ended in a child: "ended with N", the number that it returned, or "killed by signal
/// N". A child that does not end within a minute is killed by SIGALRM (14), one that throws ends
/// with 99.
template <class Work>
std::string end_of(const Work& work) {
  const pid_t pid = fork();
  if (pid == 0) {
    alarm(60);
    int code = 99;
    try {
      code = work();
    } catch (const std::exception& error) {
      std::cerr << error.what() << std::endl;
    }
    _exit(code);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFSIGNALED(status) ? "killed by signal " + std::to_string(WTERMSIG(status))
                             : "ended with " + std::to_string(WEXITSTATUS(status));
}

}  // namespace child

#endif

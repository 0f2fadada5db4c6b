#include "library/library.h"

#include <TelvarWrappers/CreateWrapperFactory.h>

#include "app/errors.h"
#include "app/text.h"
#include "files/platform.h"
#include "library/dynamic_load.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

std::vector<std::string> file_names() {
#ifdef _WIN32
  return {"TelvarWrappers.dll", "libTelvarWrappers.dll"};
#elif defined(__APPLE__)
  return {"libTelvarWrappers.dylib"};
#else
  // A machine without the development package has only the second.
  return {"libTelvarWrappers.so", "libTelvarWrappers.so." TELVAR_HOST_SOVERSION};
#endif
}

std::vector<fs::path> folders() {
  const auto here = program_folder();
  return {here, here / ".." / "lib", here / ".." / TELVAR_HOST_LIBDIR};
}

}  // namespace

Library::Library(const std::optional<fs::path>& given) {
  if (given) {
    load(*given);
  } else {
    find();
  }
  make_factory();
}

Library::~Library() {
  factory_.reset();
  if (handle_ != nullptr) close_library(handle_);
}

void Library::load(const fs::path& file) {
  const auto subject = "--library " + utf8(file) + ": ";
  if (!fs::exists(file)) throw HostError(ExitCode::kNoLibrary, subject + "no such file");
  std::string reasons;
  if (!try_load(fs::absolute(file).u8string(), reasons)) {
    throw HostError(ExitCode::kNoLibrary, subject + reasons);
  }
}

void Library::find() {
  std::string reasons;
  for (const auto& folder : folders()) {
    for (const auto& name : file_names()) {
      const auto candidate = folder / name;
      if (fs::exists(candidate) && try_load(candidate.u8string(), reasons)) return;
    }
  }
  for (const auto& name : file_names()) {
    if (try_load(name, reasons)) return;
  }
  throw HostError(
      ExitCode::kNoLibrary,
      "cannot load the TelvarWrappers library (give its path with --library): " + reasons);
}

bool Library::try_load(const std::string& name, std::string& reasons) {
  std::string why;
  handle_ = open_library(name, why);
  if (handle_ == nullptr) {
    reasons += (reasons.empty() ? "" : "; ") + why;
    return false;
  }
  origin_ = name;
  return true;
}

void Library::make_factory() {
  namespace Wrapper = Orbalt::TelvarWrapper;
  const auto entry = reinterpret_cast<Wrapper::CreateWrapperFactoryFunction>(
      find_symbol(handle_, Wrapper::kCreateWrapperFactoryName));
  if (entry == nullptr) {
    close_library(handle_);
    handle_ = nullptr;
    throw HostError(ExitCode::kNoLibrary,
                    origin_ + ": has no function " + Wrapper::kCreateWrapperFactoryName);
  }
  entry(factory_);
}

}  // namespace telvar_host

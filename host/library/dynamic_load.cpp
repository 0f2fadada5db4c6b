#include "library/dynamic_load.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <filesystem>
#else
#include <dlfcn.h>
#endif

namespace telvar_host {

#ifdef _WIN32
void* open_library(const std::string& name, std::string& why) {
  const auto path = std::filesystem::u8path(name);
  const DWORD flags = path.is_absolute() ? LOAD_WITH_ALTERED_SEARCH_PATH : 0;
  void* library = reinterpret_cast<void*>(LoadLibraryExW(path.c_str(), nullptr, flags));
  if (library == nullptr) why = name + ": system error " + std::to_string(GetLastError());
  return library;
}

void* find_symbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(library), name));
}

void close_library(void* library) {
  FreeLibrary(reinterpret_cast<HMODULE>(library));
}
#else
void* open_library(const std::string& name, std::string& why) {
  void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) why = dlerror();
  return library;
}

void* find_symbol(void* library, const char* name) {
  return dlsym(library, name);
}

void close_library(void* library) {
  dlclose(library);
}
#endif

}  // namespace telvar_host

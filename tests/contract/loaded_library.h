#pragma once

// A shared library loaded at run time, as a host loads it.

#include <stdexcept>
#include <string>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& path)
#if defined(_WIN32)
      : handle_(LoadLibraryA(path.c_str())) {
    if (handle_ == nullptr) throw std::runtime_error("cannot load " + path);
  }
#else
      : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
#endif
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  ~LoadedLibrary() {
#if defined(_WIN32)
    FreeLibrary(handle_);
#else
    dlclose(handle_);
#endif
  }

  /// Null when the library exports no such name.
  template <typename Function>
  Function* Find(const char* name) const {
#if defined(_WIN32)
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(handle_, name)));
#else
    return reinterpret_cast<Function*>(dlsym(handle_, name));
#endif
  }

 private:
#if defined(_WIN32)
  HMODULE handle_;
#else
  void* handle_;
#endif
};

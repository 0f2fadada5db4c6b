// Shared libraries of the platform.
#pragma once

#include <string>

namespace telvar_host {

// Null on failure, with the platform's reason in `why`. `name` is UTF-8: a path, or a bare file
// name that is looked for under the system's rules.
void* open_library(const std::string& name, std::string& why);
void* find_symbol(void* library, const char* name);
void close_library(void* library);

}  // namespace telvar_host

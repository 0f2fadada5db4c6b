#pragma once

// Tools of a host that need no training, through the loaded library.

#include <string>

#include "contract/little_tools.h"

namespace kept_tools {

inline const LoadedLibrary& library() {
  static const LoadedLibrary loaded(TELVAR_WRAPPERS_LIBRARY);
  return loaded;
}

inline little_tools::Tools new_tools() {
  static const auto artifacts = little_tools::kept_artifacts(TELVAR_KEPT_SAMPLES);
  return {*little_tools::factory_of(library()), artifacts};
}

inline little_tools::Tools untrained_tools() {
  return {*little_tools::factory_of(library()), {}};
}

inline std::string answer_of(const little_tools::Tools& tools) {
  return exact_text(answers_to(tools, "O-1"));
}

}  // namespace kept_tools

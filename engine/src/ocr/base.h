#pragma once

#include <vector>

#include "ocr/state.h"

namespace telvar::ocr {

/// The built-in base: a reader that has seen characters in many fonts and ways of marking, and that
/// every training from nothing starts from. engine/base/reader/README.md has its recipe. Read anew
/// from the library's own memory at each call.
ReaderState built_in_base();

/// Number of the base that is built in; artifacts name the one that they come from. 0: none.
constexpr std::uint32_t kBaseNumber = 2;

}  // namespace telvar::ocr

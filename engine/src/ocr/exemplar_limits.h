#pragma once

#include "ocr/reading_scale.h"

namespace telvar::ocr {

/// What is kept of the training images, so that a later training without them forgets little: at
/// most so many cut-outs of about 6 x 2.5 characters each, in prepared pixels.
constexpr int kMaxExemplars = 96;
constexpr int kExemplarWidth = 6 * kPreparedCharacter;
constexpr int kExemplarHeight = kPreparedCharacter * 5 / 2;

}  // namespace telvar::ocr

#pragma once

// The scale at which the reader looks: whatever the nominal character measures in the region, the
// network sees it kReadingCharacter pixels wide and high.

#include <string>

namespace telvar::ocr {

/// Side of the nominal character in reading pixels, both axes.
constexpr int kReadingCharacter = 24;
/// The same in prepared pixels, in which training images are kept: finer, so that crops of them may
/// be enlarged.
constexpr int kPreparedCharacter = 36;
/// Reading pixels from one cell of the network's answer to the next.
constexpr int kCellStride = 4;

/// Limits of the nominal size, region pixels.
constexpr float kMinNominalSide = 4.0f;
constexpr float kMaxNominalSide = 4096.0f;
/// Largest ratio of its two sides.
constexpr float kMaxNominalAspect = 8.0f;

/// Width and height of the nominal character in region pixels.
struct NominalSize {
  float width = 0;
  float height = 0;
};

/// Reading pixels per region pixel.
struct ReadingScale {
  double x = 1;
  double y = 1;
};

/// Throws invalid_parameters when a side is not finite or outside its limits; the text starts with
/// `subject`.
void check_nominal_size(const NominalSize& size, const std::string& subject);

/// The scale for a checked size.
ReadingScale reading_scale(const NominalSize& size);

}  // namespace telvar::ocr

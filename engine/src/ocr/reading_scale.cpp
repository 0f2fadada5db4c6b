#include "ocr/reading_scale.h"

#include <cmath>

#include "core/number_text.h"
#include "telvar/exceptions.h"

namespace telvar::ocr {

void check_nominal_size(const NominalSize& size, const std::string& subject) {
  const auto check = [&](const char* side, float value) {
    const std::string what = subject + ": the character " + side + " of " + core::text_of(value);
    if (!std::isfinite(value)) throw types::invalid_parameters(what + " pixels is not finite");
    if (value < kMinNominalSide || value > kMaxNominalSide) {
      throw types::invalid_parameters(what + " pixels must lie in 4..4096 pixels");
    }
  };
  check("width", size.width);
  check("height", size.height);
  const float ratio = size.width / size.height;
  if (ratio > kMaxNominalAspect || ratio < 1 / kMaxNominalAspect) {
    throw types::invalid_parameters(subject + ": the character width and height, " +
                                    core::text_of(size.width) + " x " + core::text_of(size.height) +
                                    " pixels, differ more than 8-fold");
  }
}

ReadingScale reading_scale(const NominalSize& size) {
  return {kReadingCharacter / static_cast<double>(size.width),
          kReadingCharacter / static_cast<double>(size.height)};
}

}  // namespace telvar::ocr

#pragma once

// Artifacts to damage: complete in every part, of networks that have learned little or nothing.

#include <string>

namespace telvar::fuzz {

std::string sound_ocr_artifact();
std::string sound_classifier_artifact();
std::string sound_segmenter_artifact();

}  // namespace telvar::fuzz

// Images of characters that nobody has marked yet, for a reader that is to find them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "datasets/ocr_data.h"

namespace telvar_host {

// Writes images of `characters` in several fonts into `folder`, dark on light, each character about
// six times and of about the nominal size, and returns their labels. A reader that is trained on
// them alone knows these categories, and hardly more of how they look than what its engine brings.
// Characters that no font has are left out. Needs a program with Pango; empty without.
OcrData drawn_characters(const std::vector<std::string>& characters, const NominalSize& size,
                         const std::filesystem::path& folder);

}  // namespace telvar_host

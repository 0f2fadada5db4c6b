// Images with character labels for the reader: labels.json, or chars.tsv.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/region.h"
#include "app/tool_kind.h"
#include "datasets/layout.h"
#include "datasets/problems.h"

namespace telvar_host {

struct CharacterMark {
  double x = 0;  // centre, image pixels
  double y = 0;
  std::string category;
  std::optional<std::pair<double, double>> box = {};  // its width and height, image pixels
  std::optional<double> score = {};  // of a prediction, 0..1; training takes no notice
};

struct OcrItem {
  std::string
      id;  // path relative to the data set; "#2", "#3", ... for further regions of one image
  std::filesystem::path file;
  std::optional<Region> region;
  std::vector<CharacterMark> characters;  // reading order as far as the file has it
  std::vector<std::string> lines;         // true text, top to bottom; may be unknown (empty)
  bool partial = false;                   // only some of the region's characters are marked
  bool for_training = true;

  // A mark's centre in region pixels (image pixels without a region).
  std::pair<double, double> in_region(const CharacterMark& mark) const;
};

// Whether the text is known, but of no character where it stands.
bool needs_places(const OcrItem& item);

struct OcrData {
  NominalSize size;  // unset when the files name none
  std::vector<OcrItem> items;
};

// Structural faults (missing image, empty label, mark outside its region) go to `problems`.
// Throws data_error when there are no labels or a file is malformed, naming file and place.
OcrData read_ocr_data(const std::filesystem::path& folder, Purpose purpose, Problems& problems);

// The median width and height of the boxes that the marks have, in region pixels: those of a region
// that is turned closer to 90 or 270 degrees than to 0 or 180 change places. Unset without boxes.
NominalSize median_box(const OcrData& data);

// "WxH", two numbers above 0 and at most 1e6; or nothing.
std::optional<NominalSize> size_from(const std::string& text);
// The same of the option --size. Throws usage_error.
NominalSize parse_size(const std::string& text);

}  // namespace telvar_host

// The three tools, by the names the command line uses, and the reader's size.
#pragma once

#include <string>

namespace telvar_host {

// The values are those of the state file.
enum class ToolKind { kOcr = 1, kClassifier = 2, kSegmenter = 3 };

inline const char* tool_name(ToolKind tool) {
  switch (tool) {
    case ToolKind::kOcr:
      return "ocr";
    case ToolKind::kClassifier:
      return "classifier";
    case ToolKind::kSegmenter:
      return "segmenter";
  }
  return "";
}

// Nominal size of a character, in region pixels.
struct NominalSize {
  float width = 0;  // 0 is unset
  float height = 0;
  bool is_set() const { return width > 0 && height > 0; }
};

}  // namespace telvar_host

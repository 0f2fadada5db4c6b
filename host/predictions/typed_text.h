// Places for characters whose text is known.
#pragma once

#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

#include "datasets/ocr_data.h"
#include "tools/reader_tool.h"

namespace telvar_host {

struct PlacedText {
  std::vector<CharacterMark> characters;  // in reading order, with score; positions in image pixels
  std::size_t letters = 0;                // of the text, spaces aside
  std::size_t doubtful = 0;               // placed where something else was read, or hardly so

  bool is_sure() const { return characters.size() == letters && doubtful == 0; }
};

// Finds where the lines of `item` stand in its region of `image`: as a pattern that allows each
// position its one character where the reader finds that, otherwise by what it reads there, lines
// and letters aligned at least cost. Letters without a place are left out. Categories are single
// code points.
PlacedText place_text(ReaderTool& reader, const cv::Mat& image, const OcrItem& item,
                      const NominalSize& size);

}  // namespace telvar_host

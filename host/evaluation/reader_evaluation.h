// How well a trained reader does on labelled images.
#pragma once

#include <map>
#include <opencv2/core/types.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/json.h"
#include "datasets/ocr_data.h"
#include "library/session.h"
#include "metrics/timing.h"
#include "tools/reader_tool.h"

namespace telvar_host {

// A line, or in a partly marked image a character, that was not read as it should.
struct ReaderMistake {
  std::size_t item = 0;             // position in OcrData::items
  std::string expected;             // empty: nothing stands there
  std::string read;                 // empty: nothing was read
  std::size_t errors = 0;           // edit distance, spaces aside
  std::optional<cv::Rect2d> place;  // region pixels; unknown when neither marks nor readings tell
};

struct ReaderEvaluation {
  std::size_t images = 0;
  std::size_t characters = 0;  // true ones, spaces aside; of partly marked images the marked ones
  std::size_t character_errors = 0;
  std::size_t lines = 0;  // whose text is known
  std::size_t exact_lines = 0;
  std::size_t stray_lines = 0;  // read where there is none; not counted in partly marked images
  std::map<std::pair<std::string, std::string>, std::size_t>
      confused;                              // (expected, read); "" is none
  std::vector<ReaderMistake> mistakes;       // most errors first
  std::vector<Reading> readings;             // by item
  std::vector<std::size_t> item_characters;  // true ones, by item
  std::vector<std::size_t> item_errors;
  Timing timing;

  // Errors per true character; may exceed 1. Empty without characters.
  std::optional<double> character_error_rate() const;
  // Exact lines among the true and the stray ones. Empty without either.
  std::optional<double> exact_line_rate() const;
};

// Wholly marked images are compared by their text: the one given, or that of the marks in reading
// order. Characters: edit distance of the image's whole text. Lines: aligned in order at least
// cost. Partly marked images are compared mark by mark: the nearest reading within half a
// character must have the mark's category; lines are compared where their text is given, and other
// readings are free. With `fielding` what it decides is compared; where nothing matches, nothing
// was read.
ReaderEvaluation evaluate(ReaderTool& tool, const OcrData& data, const NominalSize& size,
                          Progress& progress, const Fielding& fielding = {});

// Points (share of the images rejected, character error rate of the others), from 0 rejected on;
// images are rejected by their lowest score, the lowest first, and those of one score together.
// Ends where no true character is left.
std::vector<std::pair<double, double>> reject_curve(const ReaderEvaluation& evaluation);

// character_error_rate, exact_line_rate, counts, milliseconds_median, milliseconds_p95, mistakes.
Json json_of(const ReaderEvaluation& evaluation, const OcrData& data);

}  // namespace telvar_host

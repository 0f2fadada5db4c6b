#pragma once

// A set of images of codes on disk, and the table of readings that every reader writes.

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace telvar_bench {

/// One character: its category, line (counted from 0, top to bottom), and box in pixels.
struct Character {
  std::string category;
  int line = 0;
  float x = 0;  ///< centre
  float y = 0;  ///< centre
  float width = 0;
  float height = 0;
  double score = 1;  ///< of the category, 0..1, if a reader gives any
};

struct CodeImage {
  std::string file;
  cv::Mat pixels;  ///< 8-bit gray
  std::vector<Character> characters;
  /// The allowed characters of each position, by line; empty if the set has no patterns.
  std::vector<std::vector<std::string>> pattern;
};

struct CodeSet {
  std::vector<CodeImage> images;
  cv::Size2f nominal;  ///< nominal character size, pixels
};

/// Reads `folder`/chars.tsv with its images and `folder`/../nominal.tsv. At most `limit`
/// images, in order of name. Patterns come from
/// `folder`/patterns.tsv, if there is one. Throws std::runtime_error naming a file that cannot be
/// read.
CodeSet load_code_set(const std::string& folder, std::size_t limit);

/// What a reader made of one image and what that cost.
struct Reading {
  std::string file;
  std::vector<Character> characters;  ///< in reading order; boxes may lack an extent
  double wall_ms = 0;
  double cpu_ms = 0;  ///< of all threads of this process
};

/// Writes `stem`.chars.tsv (file, line, category, x, y, score) and `stem`.cost.tsv (file, wall_ms,
/// cpu_ms).
void write_readings(const std::string& stem, const std::vector<Reading>& readings);

/// CPU time of this process since its start, milliseconds.
double process_cpu_ms();

/// Monotonic time, milliseconds.
double wall_ms();

}  // namespace telvar_bench

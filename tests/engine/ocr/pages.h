#pragma once

// Small drawn pages for the reader's tests, and the messages around them.

#include <map>
#include <string>
#include <vector>

#include "telvar/ocr.h"
#include "telvar_msg/ocr_result.pb.h"
#include "telvar_msg/ocr_training.pb.h"

namespace telvar::test {

namespace msg = telvar_msg::qv::ocr;

/// Nominal size of the drawn characters, pixels.
constexpr float kCharacterWidth = 16;
constexpr float kCharacterHeight = 22;

struct DrawnCharacter {
  std::string category;
  float x, y;  // centre, pixels
  int line;
};

struct Page {
  types::Image image;  // 8-bit gray
  std::vector<DrawnCharacter> characters;
  std::vector<std::string> lines;
};

struct PageStyle {
  std::string alphabet = "147HLX";
  int lines = 2;
  int columns = 6;
  float scale = 1;      // of the characters
  float slant = 0;      // degrees by which the lines run down
  bool bright = false;  // characters brighter than the page
};

/// 5 x 7 dot characters on an uneven, noisy page; any of "147AHLTX".
Page draw_page(std::uint64_t seed, const PageStyle& style = {});

/// A gray page as 16-bit RGB, or as RGBA of senseless opacity, with padded rows; white at
/// 255 x `unit`.
types::Image as_wide_colour(const types::Image& gray, int unit, unsigned channels = 3);

/// A data set under construction, and the loader for its pages.
class PageSet {
 public:
  /// Labels the characters that `labelled` picks (all by default).
  void add(const std::string& id, const Page& page,
           const std::function<bool(std::size_t)>& labelled = {});

  msg::Dataset message;
  std::string dataset() const { return message.SerializeAsString(); }
  types::ImageLoader loader() const;

 private:
  std::map<std::string, types::Image> images_;
};

std::string runtime_size(float width = kCharacterWidth, float height = kCharacterHeight);

/// Reads a whole image.
msg::SampleResult read(const qv::ocr::Model& model, const types::Image& image);

/// The share of exactly read lines of `pages` pages drawn in `style`.
double exact_lines(const qv::ocr::Model& reader, const PageStyle& style, std::uint64_t seed = 100,
                   int pages = 5);

std::vector<std::string> texts(const msg::SampleResult& sample);

}  // namespace telvar::test

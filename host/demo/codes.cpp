#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/layout.h"
#include "datasets/ocr_labels.h"
#include "demo/demo_sets.h"
#include "demo/printed_code.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

const cv::Size kImageSize{208, 84};
constexpr std::size_t kLetters = 4;  // of a lot number, before its four digits
const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// Letters dealt from a shuffled alphabet: each comes as often as any other, but for one.
class Deck {
 public:
  explicit Deck(cv::RNG& rng) : rng_(rng) {}

  char deal() {
    if (left_.empty()) {
      left_ = kAlphabet;
      for (int i = static_cast<int>(left_.size()) - 1; i > 0; --i) {
        std::swap(left_[static_cast<std::size_t>(i)],
                  left_[static_cast<std::size_t>(rng_.uniform(0, i + 1))]);
      }
    }
    const char letter = left_.back();
    left_.pop_back();
    return letter;
  }

 private:
  cv::RNG& rng_;
  std::string left_;
};

std::string two_digits(int number) {
  return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

// A lot number, and the day until which it is good.
std::vector<std::string> random_code(cv::RNG& rng, Deck& letters) {
  std::string lot;
  for (std::size_t i = 0; i < kLetters; ++i) lot += letters.deal();
  lot += two_digits(rng.uniform(0, 100)) + two_digits(rng.uniform(0, 100));
  return {lot, two_digits(rng.uniform(1, 29)) + "." + two_digits(rng.uniform(1, 13)) + "." +
                   two_digits(rng.uniform(25, 40))};
}

// The photographs of each scene.
using Scenes = std::vector<std::vector<fs::path>>;

template <typename Value>
const Value& any_of(cv::RNG& rng, const std::vector<Value>& values) {
  return values[static_cast<std::size_t>(rng.uniform(0, static_cast<int>(values.size())))];
}

// A piece of a photograph, as pale as a printed wrapping: dark ink shows on all of it.
cv::Mat random_surface(cv::RNG& rng, const Scenes& scenes) {
  cv::Mat photograph;
  cv::cvtColor(displayable(read_image(any_of(rng, any_of(rng, scenes)))), photograph,
               cv::COLOR_BGR2GRAY);
  const cv::Rect piece(rng.uniform(0, photograph.cols - kImageSize.width + 1),
                       rng.uniform(0, photograph.rows - kImageSize.height + 1), kImageSize.width,
                       kImageSize.height);
  cv::Mat surface;
  // Black becomes 100, white 215 to 253.
  photograph(piece).convertTo(surface, CV_32F, rng.uniform(0.45, 0.6), 100);
  return surface;
}

Scenes scenes_in(const fs::path& images, const std::vector<std::string>& folders) {
  Scenes scenes;
  for (const auto& folder : folders) {
    if (!fs::is_directory(images / folder)) {
      throw data_error(utf8(images / folder) +
                       ": no such folder; install Debian's package visp-images-data");
    }
    Problems lost;
    scenes.push_back(entries_in(images / folder, lost).images);
    lost.throw_if_any();
    if (scenes.back().empty()) throw data_error(utf8(images / folder) + ": holds no image");
  }
  return scenes;
}

void write_part(cv::RNG rng, const Scenes& scenes, std::size_t count, const std::string& folder,
                OutputFolder& out) {
  Deck letters(rng);
  OcrData data;
  data.size = printed_character_size();
  for (std::size_t i = 0; i < count; ++i) {
    const auto code = random_code(rng, letters);
    const auto printed = print_code(rng, random_surface(rng, scenes), code);
    OcrItem item;
    item.characters = printed.characters;
    const auto number = std::to_string(i + 1);
    item.file = std::string(3 - std::min<std::size_t>(3, number.size()), '0') + number + ".png";
    item.lines = code;
    out.write(path_from_utf8(folder) / item.file, encoded(printed.image, ".png"));
    data.items.push_back(std::move(item));
  }
  out.write(path_from_utf8(folder + "/labels.json"), labels_json(data, ""));
}

}  // namespace

void write_codes(const DemoSources& sources, const std::string& folder, const ImageCounts& counts,
                 OutputFolder& out) {
  const auto images = sources.root / "usr/share/visp-images-data/ViSP-images";
  write_part(cv::RNG(1), scenes_in(images, {"cube", "mbt/cube"}), counts.train, folder + "/train",
             out);
  write_part(cv::RNG(2), scenes_in(images, {"mbt-depth/castel/castel", "Solvay", "Klimt"}),
             counts.test, folder + "/test", out);
}

Orbalt::TelvarWrapper::Types::SmartOCR::AdvancedFielding code_patterns() {
  const std::string digits = "0123456789";
  Orbalt::TelvarWrapper::Types::SmartOCR::AdvancedFielding fielding;
  auto& lines = fielding.patterns["lot and date"];
  lines.resize(2);
  lines[0].assign(kLetters, kAlphabet);
  lines[0].insert(lines[0].end(), 4, digits);
  lines[1] = {"012", digits, ".", "01", digits, ".", "23", digits};
  return fielding;
}

}  // namespace telvar_host

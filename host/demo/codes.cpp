#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/layout.h"
#include "datasets/ocr_labels.h"
#include "demo/demo_sets.h"
#include "demo/dot_font.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

constexpr double kDotPitch = 2.5;  // pixels
const NominalSize kCharacterSize{static_cast<float>(kDotColumns * kDotPitch),
                                 static_cast<float>(kDotRows* kDotPitch)};
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
std::array<std::string, 2> random_code(cv::RNG& rng, Deck& letters) {
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
  cv::cvtColor(displayable(read_picture(any_of(rng, any_of(rng, scenes)))), photograph,
               cv::COLOR_BGR2GRAY);
  const cv::Rect piece(rng.uniform(0, photograph.cols - kImageSize.width + 1),
                       rng.uniform(0, photograph.rows - kImageSize.height + 1), kImageSize.width,
                       kImageSize.height);
  cv::Mat surface;
  photograph(piece).convertTo(surface, CV_32F, rng.uniform(0.45, 0.6), 100);
  return surface;
}

// How much ink lies where: drops of about a dot's pitch, none quite in its place.
class Print {
 public:
  Print(cv::RNG& rng, cv::Size size) : rng_(rng), ink_(size, CV_32F, cv::Scalar(0)) {}

  void drop(cv::Point2d centre) {
    centre.x += rng_.gaussian(0.09 * kDotPitch);
    centre.y += rng_.gaussian(0.09 * kDotPitch);
    const double radius = kDotPitch * rng_.uniform(0.42, 0.56);
    const double strength = rng_.uniform(0.75, 1.0);
    const auto reach = static_cast<int>(std::ceil(2 * radius));
    for (int y = cvRound(centre.y) - reach; y <= cvRound(centre.y) + reach; ++y) {
      for (int x = cvRound(centre.x) - reach; x <= cvRound(centre.x) + reach; ++x) {
        if (x < 0 || y < 0 || x >= ink_.cols || y >= ink_.rows) continue;
        const double distance = std::hypot(x - centre.x, y - centre.y) / radius;
        const auto here = static_cast<float>(strength * std::exp(-std::pow(distance, 4)));
        ink_.at<float>(y, x) = std::max(ink_.at<float>(y, x), here);
      }
    }
  }

  const cv::Mat& ink() const { return ink_; }

 private:
  cv::RNG& rng_;
  cv::Mat ink_;
};

// Prints both lines, turned by a few degrees about the middle; returns where each character stands.
std::vector<CharacterMark> print_code(cv::RNG& rng, const std::array<std::string, 2>& code,
                                      Print& print) {
  const double angle = rng.uniform(-4.0, 4.0) * CV_PI / 180;
  const cv::Point2d origin(kImageSize.width / 2.0 + rng.uniform(-15.0, 15.0),
                           kImageSize.height / 2.0 + rng.uniform(-6.0, 6.0));
  const auto placed = [&](double column, double row) {
    const cv::Point2d flat(column * kDotPitch, row * kDotPitch);
    return origin + cv::Point2d(flat.x * std::cos(angle) - flat.y * std::sin(angle),
                                flat.x * std::sin(angle) + flat.y * std::cos(angle));
  };
  constexpr double kAdvance = kDotColumns + 1.4;
  constexpr double kLineDistance = kDotRows + 4;
  std::vector<CharacterMark> marks;
  for (std::size_t line = 0; line < code.size(); ++line) {
    const double top = (static_cast<double>(line) - 1) * kLineDistance + 2;
    const double first = -kAdvance * static_cast<double>(code[line].size()) / 2;
    for (std::size_t i = 0; i < code[line].size(); ++i) {
      const double left = first + kAdvance * static_cast<double>(i);
      for (const auto& dot : dots_of(code[line][i])) print.drop(placed(left + dot.x, top + dot.y));
      const auto centre = placed(left + (kDotColumns - 1) / 2.0, top + (kDotRows - 1) / 2.0);
      marks.push_back({centre.x, centre.y, std::string(1, code[line][i])});
    }
  }
  return marks;
}

// What a camera makes of it: ink on the surface, a little out of focus, with the sensor's noise.
cv::Mat photographed(cv::RNG& rng, const cv::Mat& surface, const cv::Mat& ink) {
  constexpr double kInk = 30;
  const double opacity = rng.uniform(0.7, 0.95);
  cv::Mat image = surface + opacity * ink.mul(kInk - surface);
  cv::GaussianBlur(image, image, {}, rng.uniform(0.4, 0.8));
  cv::Mat noise(image.size(), CV_32F);
  rng.fill(noise, cv::RNG::NORMAL, 0, 4);
  image += noise;
  image.convertTo(image, CV_8U);
  return image;
}

Scenes scenes_in(const fs::path& images, const std::vector<std::string>& folders) {
  Scenes scenes;
  for (const auto& folder : folders) {
    if (!fs::is_directory(images / folder)) {
      throw data_error(utf8(images / folder) +
                       ": no such folder; install Debian's package visp-images-data");
    }
    Problems lost;
    scenes.push_back(entries_in(images / folder, lost).pictures);
    lost.throw_if_any();
    if (scenes.back().empty()) throw data_error(utf8(images / folder) + ": holds no image");
  }
  return scenes;
}

void write_part(cv::RNG rng, const Scenes& scenes, std::size_t count, const std::string& folder,
                OutputFolder& out) {
  Deck letters(rng);
  OcrData data;
  data.size = kCharacterSize;
  for (std::size_t i = 0; i < count; ++i) {
    const auto code = random_code(rng, letters);
    Print print(rng, kImageSize);
    OcrItem item;
    item.characters = print_code(rng, code, print);
    const auto number = std::to_string(i + 1);
    item.file = std::string(3 - std::min<std::size_t>(3, number.size()), '0') + number + ".png";
    item.lines = {code[0], code[1]};
    const auto image = photographed(rng, random_surface(rng, scenes), print.ink());
    out.write(path_from_utf8(folder) / item.file, encoded(image, ".png"));
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

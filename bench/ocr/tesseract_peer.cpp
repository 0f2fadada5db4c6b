// Reads a set of codes with Tesseract.
//
//   tesseract_peer SET OUT MODE INPUT LIMIT WHITELIST
//
// MODE: a page segmentation mode (3 automatic, 6 one block, 11 sparse text), or "line7" / "line13"
// (single line, raw line) to be given the true place of each line. INPUT: raw, double (twice the
// size), normal (local mean and contrast evened out, doubled), binary (the same, Otsu's threshold).
// An empty WHITELIST allows every character and the dictionaries.

#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "code_set.h"

namespace {

using telvar_bench::Character;
using telvar_bench::CodeImage;

cv::Mat even_out(const cv::Mat& gray, double height) {
  cv::Mat values, mean, deviation, result;
  gray.convertTo(values, CV_32F);
  cv::GaussianBlur(values, mean, {}, height);
  values -= mean;
  cv::GaussianBlur(values.mul(values), deviation, {}, height);
  cv::sqrt(deviation, deviation);
  cv::Mat(values / (deviation + 2.0) * 50.0 + 128.0).convertTo(result, CV_8U);
  return result;
}

// Returns the image for Tesseract and how much it was magnified.
std::pair<cv::Mat, double> prepare(const cv::Mat& gray, const std::string& input, double height) {
  if (input == "raw") return {gray, 1.0};
  cv::Mat prepared = input == "double" ? gray : even_out(gray, height);
  cv::resize(prepared, prepared, {}, 2.0, 2.0, cv::INTER_CUBIC);
  if (input == "binary") cv::threshold(prepared, prepared, 0, 255, cv::THRESH_OTSU);
  return {prepared, 2.0};
}

class Reader {
 public:
  Reader(tesseract::PageSegMode mode, const std::string& whitelist) {
    const std::vector<std::string> names = {"load_system_dawg", "load_freq_dawg"};
    const std::vector<std::string> values = {"0", "0"};
    const bool codes = !whitelist.empty();
    if (api_.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY, nullptr, 0, codes ? &names : nullptr,
                  codes ? &values : nullptr, false) != 0)
      throw std::runtime_error("Tesseract finds no English data");
    api_.SetPageSegMode(mode);
    if (codes) api_.SetVariable("tessedit_char_whitelist", whitelist.c_str());
    api_.SetVariable("debug_file", "/dev/null");
  }

  std::vector<Character> read(const cv::Mat& gray, double magnified) {
    const cv::Mat pixels = gray.isContinuous() ? gray : gray.clone();
    api_.SetImage(pixels.data, pixels.cols, pixels.rows, 1, static_cast<int>(pixels.step));
    api_.SetSourceResolution(200);
    std::vector<Character> characters;
    if (api_.Recognize(nullptr) != 0) return characters;
    const std::unique_ptr<tesseract::ResultIterator> symbol(api_.GetIterator());
    if (!symbol || symbol->Empty(tesseract::RIL_SYMBOL)) return characters;
    int line = -1;
    do {
      if (symbol->IsAtBeginningOf(tesseract::RIL_TEXTLINE)) ++line;
      const std::unique_ptr<char[]> text(symbol->GetUTF8Text(tesseract::RIL_SYMBOL));
      if (text && *text.get() && *text.get() != ' ')
        characters.push_back(place(*symbol, text.get(), std::max(line, 0), magnified));
    } while (symbol->Next(tesseract::RIL_SYMBOL));
    return characters;
  }

 private:
  static Character place(const tesseract::ResultIterator& symbol, const char* text, int line,
                         double magnified) {
    int left = 0, top = 0, right = 0, bottom = 0;
    symbol.BoundingBox(tesseract::RIL_SYMBOL, &left, &top, &right, &bottom);
    const auto scale = static_cast<float>(0.5 / magnified);
    return {text, line, scale * (left + right), scale * (top + bottom), 0, 0};
  }

  tesseract::TessBaseAPI api_;
};

// The box of a line, widened by half a character on every side.
cv::Rect line_box(const CodeImage& image, int line, const cv::Size2f& nominal) {
  float left = 1e9f, top = 1e9f, right = 0, bottom = 0;
  for (const Character& c : image.characters) {
    if (c.line != line) continue;
    left = std::min(left, c.x - c.width / 2), right = std::max(right, c.x + c.width / 2);
    top = std::min(top, c.y - c.height / 2), bottom = std::max(bottom, c.y + c.height / 2);
  }
  const cv::Rect box(cv::Point2f(left - nominal.width / 2, top - nominal.height / 3),
                     cv::Point2f(right + nominal.width / 2, bottom + nominal.height / 3));
  return box & cv::Rect({}, image.pixels.size());
}

std::vector<Character> read_lines(Reader& reader, const CodeImage& image, const std::string& input,
                                  const cv::Size2f& nominal) {
  std::vector<Character> all;
  for (int line = 0; line <= image.characters.back().line; ++line) {
    const cv::Rect box = line_box(image, line, nominal);
    const auto [pixels, magnified] = prepare(image.pixels(box), input, nominal.height);
    for (Character c : reader.read(pixels, magnified)) {
      c.line = line, c.x += static_cast<float>(box.x), c.y += static_cast<float>(box.y);
      all.push_back(c);
    }
  }
  return all;
}

void run(const std::vector<std::string>& arguments) {
  const auto set = telvar_bench::load_code_set(arguments[0], std::stoul(arguments[4]));
  const std::string &mode = arguments[2], &input = arguments[3];
  const bool lines = mode.rfind("line", 0) == 0;
  Reader reader(static_cast<tesseract::PageSegMode>(std::stoi(lines ? mode.substr(4) : mode)),
                arguments[5]);
  std::vector<telvar_bench::Reading> readings;
  for (const CodeImage& image : set.images) {
    const double wall = telvar_bench::wall_ms(), cpu = telvar_bench::process_cpu_ms();
    telvar_bench::Reading reading{image.file, {}, 0, 0};
    if (lines) {
      reading.characters = read_lines(reader, image, input, set.nominal);
    } else {
      const auto [pixels, magnified] = prepare(image.pixels, input, set.nominal.height);
      reading.characters = reader.read(pixels, magnified);
    }
    reading.wall_ms = telvar_bench::wall_ms() - wall;
    reading.cpu_ms = telvar_bench::process_cpu_ms() - cpu;
    readings.push_back(std::move(reading));
  }
  telvar_bench::write_readings(arguments[1], readings);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) {
    std::cerr << "usage: tesseract_peer SET OUT MODE INPUT LIMIT WHITELIST\n";
    return 2;
  }
  setMsgSeverity(L_SEVERITY_NONE);  // complaints about blank crops
  try {
    run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "tesseract_peer: " << error.what() << '\n';
    return 1;
  }
}

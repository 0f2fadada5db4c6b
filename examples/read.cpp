// Trains a reader on drawn seven-segment digits, reads a new number, and lets a pattern decide.
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <cstdio>
#include <exception>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace Types = Orbalt::TelvarWrapper::Types;

constexpr int kWidth = 190, kHeight = 48, kPitch = 22;  // px

// Lit or not: top, upper left, upper right, middle, lower left, lower right, bottom.
const char* const kLit[] = {"1110111", "0010010", "1011101", "1011011", "0111010",
                            "1101011", "1101111", "1010010", "1111111", "1111011"};

void fill(std::vector<unsigned char>& pixels, int left, int top, int width, int height) {
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) pixels[y * kWidth + x] = 230;
  }
}

int centre(std::size_t index) {
  return 18 + kPitch * static_cast<int>(index);
}

// The digits of `text`, 14 x 26 px each, on a dark, noisy ground.
std::shared_ptr<Types::Image> draw(const std::string& text, unsigned seed) {
  static const int kSegment[7][4] = {{2, 0, 10, 3},  {0, 1, 3, 12},  {11, 1, 3, 12},
                                     {2, 12, 10, 3}, {0, 13, 3, 12}, {11, 13, 3, 12},
                                     {2, 23, 10, 3}};
  std::mt19937 random(seed);
  std::vector<unsigned char> pixels(kWidth * kHeight, 40);
  for (std::size_t i = 0; i < text.size(); ++i) {
    for (int s = 0; s < 7; ++s) {
      if (kLit[text[i] - '0'][s] == '0') continue;
      const auto& [x, y, w, h] = kSegment[s];
      fill(pixels, centre(i) - 7 + x, kHeight / 2 - 13 + y, w, h);
    }
  }
  for (auto& pixel : pixels) pixel = static_cast<unsigned char>(pixel + random() % 25);
  return Types::MakeImage({kWidth, kHeight, kWidth, 1, 8, 0}, std::move(pixels));
}

int main() try {
  std::shared_ptr<Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  auto reader = factory->CreateSmartOCRWrapper(std::make_unique<Types::SmartOCR::Data>("", ""));

  std::mt19937 random(1);
  std::map<std::string, std::shared_ptr<Types::Image>> images;
  Types::SmartOCR::Dataset dataset;
  dataset.width = 14;  // nominal character size, px
  dataset.height = 26;
  for (unsigned i = 0; i < 16; ++i) {
    std::string text;
    Types::SmartOCR::TrainData sample;
    for (std::size_t k = 0; k < 8; ++k) {
      text += static_cast<char>('0' + random() % 10);
      sample.assignments.emplace_back(centre(k), kHeight / 2, text.substr(k, 1));
    }
    sample.imageId = std::to_string(i);
    images[sample.imageId] = draw(text, i);
    dataset.trainData.push_back(sample);
  }
  reader->Train(dataset, [&](const std::string& id) { return images.at(id); });

  const Types::SmartOCR::BasicFielding eight_digits("0123456789", 8);
  const auto read = reader->Process(draw("30917254", 1000), nullptr, {14, 26}, eight_digits);
  const std::string text = read.fieldingResult.sample.lines->at(0).text;
  std::printf("read %s, lowest score %.2f\n", text.c_str(), read.fieldingResult.sample.secondValue);
  return text == "30917254" ? 0 : 1;
} catch (const std::exception& error) {  // every class of the library, and the standard ones
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

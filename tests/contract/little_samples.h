#pragma once

// Six little images, three of an I and three of an O, from which every tool learns in seconds.

#include <TelvarTypes/TelvarTypes.h>

#include <memory>
#include <string>
#include <vector>

namespace little_samples {

namespace Types = Orbalt::TelvarWrapper::Types;

constexpr unsigned kSide = 32;

/// "I-0" to "I-2" and "O-0" to "O-2": the letter, and how far it lies off the middle.
inline const std::vector<std::string> kIds = {"I-0", "I-1", "I-2", "O-0", "O-1", "O-2"};

inline std::string LetterOf(const std::string& id) {
  return id.substr(0, 1);
}
inline unsigned ShiftOf(const std::string& id) {
  return static_cast<unsigned>(id.back() - '0');
}

inline std::shared_ptr<Types::Image> Draw(const std::string& id, unsigned char ground,
                                          unsigned char ink) {
  std::vector<unsigned char> pixels(kSide * kSide, ground);
  const unsigned middle = kSide / 2 + ShiftOf(id);
  for (unsigned y = 8; y < 24; ++y) {
    for (unsigned x = middle - 6; x < middle + 6; ++x) {
      const bool upright = x >= middle - 2 && x < middle + 2;
      const bool edge = x < middle - 3 || x >= middle + 3 || y < 11 || y >= 21;
      if (LetterOf(id) == "I" ? upright : edge) pixels[y * kSide + x] = ink;
    }
  }
  return Types::MakeImage({kSide, kSide, kSide, 1, 8, 0}, std::move(pixels));
}
inline std::shared_ptr<Types::Image> LoadSample(const std::string& id) {
  return Draw(id, 60, 200);
}
inline std::shared_ptr<Types::Image> LoadMask(const std::string& id) {
  return Draw(id, 0, 255);
}

/// The categories are the letters.
inline Types::SmartClassifier::Dataset ToClassify() {
  Types::SmartClassifier::Dataset dataset;
  for (const std::string& id : kIds) dataset.samples[id] = {id, LetterOf(id)};
  return dataset;
}

/// One category, "ink".
inline Types::SmartSegmenter::Dataset ToSegment() {
  Types::SmartSegmenter::Dataset dataset;
  dataset.categories = {"ink"};
  for (const std::string& id : kIds) {
    dataset.samples.emplace_back();
    dataset.samples.back().imageId = id;
    dataset.samples.back().categoryMasks["ink"] = id;
  }
  return dataset;
}

inline const Types::SmartOCR::Size kCharacter{12, 16};

inline Types::SmartOCR::Dataset ToRead() {
  Types::SmartOCR::Dataset dataset;
  dataset.width = kCharacter.width;
  dataset.height = kCharacter.height;
  for (const std::string& id : kIds) {
    dataset.trainData.emplace_back();
    dataset.trainData.back().imageId = id;
    dataset.trainData.back().assignments = {{kSide / 2 + ShiftOf(id) - 0.5, 15.5, LetterOf(id)}};
  }
  return dataset;
}

}  // namespace little_samples

// A library with the wrappers' interface and simple, predictable tools, so that the host program is
// tested without an engine:
//
//   classifier  a category's mean brightness; scores fall with the distance from it
//   segmenter   one category, "bright": pixels from 128 up; the artifact names the trained
//               categories
//   reader      finds the marks it was trained on again, wherever the pixel there is dark
//
// The process follows the environment's locale once the library is loaded, as under many a
// graphical host. Training with a category "slow" sleeps for a minute after loading, with a
// category "steps" it tells of its progress for as long, with a category "linger" it sleeps when
// the library is unloaded. An image of one pixel is refused.

#include <TelvarWrappers/CreateWrapperFactory.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <map>
#include <sstream>
#include <thread>

#include "TelvarTypes/Exceptions.h"
#include "TelvarTypes/MonitoredLoader.h"

namespace {

namespace Types = Orbalt::TelvarWrapper::Types;
namespace Wrapper = Orbalt::TelvarWrapper;
using Loader = std::function<std::shared_ptr<Types::Image>(const std::string&)>;

// 0..255, whatever the depth; the mean of the colour channels.
double value_at(const Types::Image& image, std::uint32_t x, std::uint32_t y) {
  const auto [width, height, stride, channels, bits, order] = image.layout;
  if (width < 2) throw Wrapper::InvalidImageSizeException("image width 1 is below 2");
  const unsigned colours = channels == 4 ? 3 : channels;
  double sum = 0;
  for (unsigned c = 0; c < colours; ++c) {
    const auto* at = image.pixels + y * stride + (x * channels + c) * (bits / 8);
    sum += bits == 16 ? at[1] : at[0];
  }
  return sum / colours;
}

double mean_of(const Types::Image& image) {
  double sum = 0;
  for (std::uint32_t y = 0; y < image.layout[1]; ++y) {
    for (std::uint32_t x = 0; x < image.layout[0]; ++x) sum += value_at(image, x, y);
  }
  return sum / image.layout[0] / image.layout[1];
}

void require_artifact(const std::string& artifact) {
  if (artifact.empty()) throw Wrapper::InvalidTrainingArtifactException("the artifact is empty");
}

void sleep_if_slow(bool slow) {
  if (slow) std::this_thread::sleep_for(std::chrono::minutes(1));
}

void tell_if_stepping(bool stepping, const Types::ImageLoader& loader) {
  const auto* monitored = loader.target<Types::MonitoredLoader>();
  for (int step = 0; stepping && monitored != nullptr && step < 600; ++step) {
    monitored->Tell({static_cast<float>(step) / 600, step < 10 ? -1.0f : 0.75f});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
}

struct Unloading {
  bool slow = false;
  ~Unloading() { sleep_if_slow(slow); }
} unloading;

class Classifier : public Types::ISmartClassifierWrapper {
 public:
  explicit Classifier(std::string artifact) : artifact_(std::move(artifact)) {}

  std::unique_ptr<Types::SmartClassifier::Data> GetData() const override {
    return std::make_unique<Types::SmartClassifier::Data>(artifact_, "cache");
  }

  Types::SmartClassifier::TrainingResult Train(const Types::SmartClassifier::Dataset& dataset,
                                               const Loader& load) override {
    std::map<std::string, std::pair<double, int>> sums;
    for (const auto& [key, sample] : dataset.samples) {
      auto& [sum, count] = sums[sample.categoryId];
      sum += mean_of(*load(sample.imageId));
      ++count;
    }
    sleep_if_slow(sums.count("slow") != 0);
    tell_if_stepping(sums.count("steps") != 0, load);
    unloading.slow = sums.count("linger") != 0;
    std::ostringstream artifact;
    for (const auto& [category, sum] : sums)
      artifact << sum.first / sum.second << '\t' << category << '\n';
    artifact_ = artifact.str();
    Types::SmartClassifier::TrainingResult result;
    result.overallScore = 0.5;
    return result;
  }

  Types::SmartClassifier::Result Process(std::shared_ptr<Types::Image> image) override {
    require_artifact(artifact_);
    Types::SmartClassifier::Result result;
    const double mean = mean_of(*image);
    double sum = 0;
    std::istringstream lines(artifact_);
    double centre = 0;
    for (std::string category; lines >> centre && std::getline(lines.ignore(), category);) {
      const double score = std::exp(-std::abs(mean - centre) / 20);
      result.scores.emplace_back(category, score);
      sum += score;
    }
    for (auto& score : result.scores) score.score /= sum;
    return result;
  }

  Types::SmartClassifier::SamplesResult BatchProcess(const Types::CommonDataSet& batch,
                                                     const Loader& load) override {
    Types::SmartClassifier::SamplesResult results;
    for (const auto& [key, sample] : batch.samples) {
      results.samples[key] = Process(load(sample.imageId)).scores;
    }
    return results;
  }

 private:
  std::string artifact_;
};

class Segmenter : public Types::ISmartSegmenterWrapper {
 public:
  explicit Segmenter(std::string artifact) : artifact_(std::move(artifact)) {}

  std::unique_ptr<Types::SmartSegmenter::Data> GetData() const override {
    return std::make_unique<Types::SmartSegmenter::Data>(artifact_, "cache");
  }

  Types::SmartSegmenter::TrainingResult Train(const Types::SmartSegmenter::Dataset& dataset,
                                              const Loader& load,
                                              const Loader& load_mask) override {
    for (const auto& sample : dataset.samples) {
      const auto image = load(sample.imageId);
      for (const auto& mask : sample.categoryMasks) {
        if (load_mask(mask.second)->layout[0] != image->layout[0]) {
          throw Wrapper::InvalidArgumentException("mask '" + mask.second + "' has another width");
        }
      }
    }
    artifact_.clear();
    for (const auto& category : dataset.categories) artifact_ += category + '\n';
    return {};
  }

  Types::SmartSegmenter::ProcessResult Process(const std::shared_ptr<Types::Image>& image,
                                               const std::shared_ptr<Types::ROI>& roi) override {
    require_artifact(artifact_);
    const std::uint32_t width = roi ? roi->width : image->layout[0];
    const std::uint32_t height = roi ? roi->height : image->layout[1];
    auto found = std::make_shared<Types::ResultImage>();
    found->layout = {width, height, width, 1, 8, 0};
    for (std::uint32_t y = 0; y < height; ++y) {
      for (std::uint32_t x = 0; x < width; ++x) {
        found->pixels.push_back(static_cast<unsigned char>(
            value_at(*image, x + (roi ? static_cast<std::uint32_t>(roi->x) : 0),
                     y + (roi ? static_cast<std::uint32_t>(roi->y) : 0))));
      }
    }
    Types::SmartSegmenter::ProcessResult result;
    std::istringstream lines(artifact_);
    for (std::string category; std::getline(lines, category);)
      result.resultImages[category] = found;
    return result;
  }

  Types::SmartSegmenter::ProcessResults BatchProcess(const Types::CommonDataSet& batch,
                                                     const Loader& load) override {
    Types::SmartSegmenter::ProcessResults results;
    for (const auto& entry : batch.samples) {
      results.results[entry.second.imageId] = Process(load(entry.second.imageId), nullptr);
    }
    return results;
  }

 private:
  std::string artifact_;
};

class Reader : public Types::ISmartOCRWrapper {
 public:
  explicit Reader(std::string artifact) : artifact_(std::move(artifact)) {}

  Types::SmartOCR::TrainResult Train(const Types::SmartOCR::Dataset& dataset,
                                     const Loader& load) override {
    std::ostringstream artifact;
    for (const auto& sample : dataset.trainData) {
      load(sample.imageId);
      for (const auto& mark : sample.assignments) {
        artifact << mark.firstValue << ' ' << mark.secondValue << ' ' << mark.categoryId << '\n';
      }
    }
    artifact_ = artifact.str();
    return {};
  }

  Types::SmartOCR::ProcessResult Process(
      std::shared_ptr<Types::Image> image, const std::shared_ptr<Types::ROI>& roi,
      const Types::SmartOCR::Size& size,
      const Types::SmartOCR::AdvancedFielding& fielding) override {
    auto result = Process(std::move(image), roi, size);
    result.fieldingResult.patternName = fielding.patterns.begin()->first;
    result.fieldingResult.sample = result.sample;
    return result;
  }

  Types::SmartOCR::ProcessResult Process(std::shared_ptr<Types::Image> image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size,
                                         const Types::SmartOCR::BasicFielding& fielding) override {
    auto result = Process(std::move(image), roi, size);
    const auto count = static_cast<std::int32_t>(result.sample.characters->size());
    if (fielding.count != 0 && fielding.count != count) {
      throw Wrapper::InvalidArgumentException("No matching Fielding pattern was found");
    }
    result.fieldingResult.sample = result.sample;
    return result;
  }

  Types::SmartOCR::ProcessResult Process(std::shared_ptr<Types::Image> image,
                                         const std::shared_ptr<Types::ROI>& roi,
                                         const Types::SmartOCR::Size& size) override {
    require_artifact(artifact_);
    Types::SmartOCR::ProcessResult result;
    result.sample.characters = std::make_shared<std::vector<Types::SmartOCR::CharacterResult>>();
    result.sample.lines = std::make_shared<std::vector<Types::SmartOCR::Line>>();
    std::vector<std::pair<float, float>> centres;
    std::istringstream marks(artifact_);
    double u = 0, v = 0;
    for (std::string category; marks >> u >> v >> category;) {
      const double x = u + (roi ? roi->x : 0), y = v + (roi ? roi->y : 0);
      if (value_at(*image, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)) >= 128)
        continue;
      Types::SmartOCR::CharacterResult read;
      read.firstValue = u;
      read.secondValue = v;
      read.thirdValue = 1;
      read.categoryResults =
          std::make_shared<std::vector<Types::SmartOCR::CharacterCategoryResult>>();
      read.categoryResults->emplace_back(category, 0.9);
      result.sample.characters->push_back(read);
      centres.emplace_back(static_cast<float>(u), static_cast<float>(v));
    }
    for (const auto& line : SortCharacters(centres, size.height)) {
      Types::SmartOCR::Line read;
      for (const auto index : line) {
        read.text += (*result.sample.characters)[index].categoryResults->front().categoryId;
        read.indexes.push_back(static_cast<int>(index));
      }
      result.sample.lines->push_back(read);
    }
    result.sample.firstValue = result.sample.secondValue = 0.9;
    return result;
  }

  // Rows of `height`, each from left to right.
  std::vector<std::vector<std::uint64_t>> SortCharacters(
      const std::vector<std::pair<float, float>>& points, float height) override {
    std::map<int, std::multimap<float, std::uint64_t>> rows;
    for (std::size_t i = 0; i < points.size(); ++i) {
      rows[static_cast<int>(points[i].second / height)].emplace(points[i].first, i);
    }
    std::vector<std::vector<std::uint64_t>> lines;
    for (const auto& row : rows) {
      lines.emplace_back();
      for (const auto& point : row.second) lines.back().push_back(point.second);
    }
    return lines;
  }

  std::unique_ptr<Types::SmartOCR::Data> GetData() const override {
    return std::make_unique<Types::SmartOCR::Data>(artifact_, "cache");
  }

 private:
  std::string artifact_;
};

class Factory : public Types::IWrapperFactory {
 public:
  std::shared_ptr<Types::ISmartOCRWrapper> CreateSmartOCRWrapper(
      std::unique_ptr<Types::SmartOCR::Data> data) override {
    return std::make_shared<Reader>(data->artifact);
  }
  std::shared_ptr<Types::ISmartClassifierWrapper> CreateSmartClassifierWrapper(
      std::unique_ptr<Types::SmartClassifier::Data> data) override {
    return std::make_shared<Classifier>(data->artifact);
  }
  std::shared_ptr<Types::ISmartSegmenterWrapper> CreateSmartSegmenterWrapper(
      std::unique_ptr<Types::SmartSegmenter::Data> data) override {
    return std::make_shared<Segmenter>(data->artifact);
  }
};

}  // namespace

void CreateWrapperFactory(std::shared_ptr<Types::IWrapperFactory>& factory) {
  std::setlocale(LC_ALL, "");
  factory = std::make_shared<Factory>();
}

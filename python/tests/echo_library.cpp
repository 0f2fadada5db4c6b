// A library with the wrappers' interface that repeats what it is given, so that the Python package
// is tested value by value. The artifact is an instruction:
//
//   raise NAME TEXT   every operation throws the exception NAME of the library
//   fail TEXT         GetData throws a std::runtime_error
//   thread            images are asked for on a thread of the library's own
//   wait              Process waits until another tool's Process is told to `signal`

#include <TelvarWrappers/CreateWrapperFactory.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <future>
#include <map>
#include <mutex>
#include <numeric>
#include <stdexcept>

#include "TelvarTypes/Exceptions.h"

namespace {

using namespace Orbalt::TelvarWrapper;
using namespace Orbalt::TelvarWrapper::Types;

template <class Exception>
[[noreturn]] void raise(const std::string& text) {
  throw Exception(text);
}

void obey(const std::string& artifact) {
  static const std::map<std::string, void (*)(const std::string&)> kExceptions = {
      {"TelvarException", raise<TelvarException>},
      {"InvalidArgumentException", raise<InvalidArgumentException>},
      {"InvalidImageException", raise<InvalidImageException>},
      {"InvalidImageSizeException", raise<InvalidImageSizeException>},
      {"InvalidLabelException", raise<InvalidLabelException>},
      {"InvalidOperationException", raise<InvalidOperationException>},
      {"InvalidROIException", raise<InvalidROIException>},
      {"InvalidTrainingArtifactException", raise<InvalidTrainingArtifactException>},
      {"UnsupportedTrainingArtifactVersionException",
       raise<UnsupportedTrainingArtifactVersionException>},
      {"bad_alloc", [](const std::string&) { throw std::bad_alloc(); }}};
  if (artifact.compare(0, 6, "raise ") != 0) return;
  const auto end = artifact.find(' ', 6);
  kExceptions.at(artifact.substr(6, end - 6))(artifact.substr(end + 1));
}

// Two calls at once, in two threads.
void meet(const std::string& artifact) {
  static std::mutex mutex;
  static std::condition_variable signalled;
  static bool signal = false;
  std::unique_lock<std::mutex> lock(mutex);
  if (artifact == "signal") {
    signal = true;
    signalled.notify_all();
  } else if (artifact == "wait" &&
             !signalled.wait_for(lock, std::chrono::seconds(20), [] { return signal; })) {
    throw InvalidOperationException("nobody called meanwhile");
  }
}

template <class Interface, class Record>
class EchoTool : public Interface {
 public:
  explicit EchoTool(const Record& data) : data_(data) {}

  std::unique_ptr<Record> GetData() const override {
    if (data_.artifact.compare(0, 5, "fail ") == 0) {
      throw std::runtime_error(data_.artifact.substr(5));
    }
    return std::make_unique<Record>(data_);
  }

 protected:
  std::shared_ptr<Image> load(const ImageLoader& loader, const std::string& id) const {
    // Without an image the engine refuses; here that is told by null.
    if (data_.artifact != "thread") return loader(id);
    return std::async(std::launch::async, loader, id).get();
  }

  Record data_;
};

// The values that pass through the image, by name.
std::vector<SmartClassifier::CategoryScore> describe(const std::shared_ptr<Image>& image) {
  if (!image) return {{"none", 1}};
  static const char* const kNames[] = {"width", "height", "stride", "channels", "bits", "order"};
  std::vector<SmartClassifier::CategoryScore> values;
  for (int i = 0; i < 6; ++i) values.emplace_back(kNames[i], image->layout[i]);
  const auto* pixels = image->pixels;
  values.emplace_back("address", static_cast<double>(reinterpret_cast<std::uintptr_t>(pixels)));
  // What a layout promises is read to the last byte.
  const std::size_t size = pixels ? std::size_t{image->layout[1]} * image->layout[2] : 0;
  values.emplace_back("all bytes", std::accumulate(pixels, pixels + size, 0.0));
  values.emplace_back("last row", size == 0 ? 0 : pixels[size - image->layout[2]]);
  return values;
}

class Classifier : public EchoTool<ISmartClassifierWrapper, SmartClassifier::Data> {
 public:
  using EchoTool::EchoTool;

  SmartClassifier::TrainingResult Train(const SmartClassifier::Dataset& dataset,
                                        const ImageLoader& loader) override {
    obey(data_.artifact);
    SmartClassifier::TrainingResult result;
    result.overallScore = static_cast<double>(dataset.samples.size());
    for (const auto& [key, sample] : dataset.samples) {
      load(loader, sample.imageId);
      result.samples[key] = {{sample.imageId, 0}, {sample.categoryId, 1}};
    }
    data_.artifact = "trained";
    return result;
  }

  SmartClassifier::Result Process(std::shared_ptr<Image> image) override {
    obey(data_.artifact);
    meet(data_.artifact);
    SmartClassifier::Result result;
    result.scores = describe(image);
    return result;
  }

  SmartClassifier::SamplesResult BatchProcess(const CommonDataSet& batch,
                                              const ImageLoader& loader) override {
    obey(data_.artifact);
    SmartClassifier::SamplesResult result;
    for (const auto& [key, sample] : batch.samples) {
      result.samples[key] = describe(load(loader, sample.imageId));
    }
    return result;
  }
};

std::shared_ptr<ResultImage> flat(std::uint32_t width, std::uint32_t height, unsigned char value) {
  auto image = std::make_shared<ResultImage>();
  image->layout = {width, height, width + 3, 1, 8, 0};
  image->pixels.assign(std::size_t{width + 3} * height, 0);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::fill_n(image->pixels.begin() + y * (width + 3), width, value);
  }
  return image;
}

class Segmenter : public EchoTool<ISmartSegmenterWrapper, SmartSegmenter::Data> {
 public:
  using EchoTool::EchoTool;

  // The score counts the marked bytes, plus 1000 for each category and the regions' widths.
  SmartSegmenter::TrainingResult Train(const SmartSegmenter::Dataset& dataset,
                                       const ImageLoader& loader,
                                       const ImageLoader& mask_loader) override {
    obey(data_.artifact);
    SmartSegmenter::TrainingResult result;
    result.score = 1000.0 * static_cast<double>(dataset.categories.size());
    for (const auto& sample : dataset.samples) {
      load(loader, sample.imageId);
      if (sample.roi) result.score += sample.roi->width;
      for (const auto& [category, mask_id] : sample.categoryMasks) {
        const auto mask = load(mask_loader, mask_id);
        const std::size_t size = std::size_t{mask->layout[1]} * mask->layout[2];
        result.score +=
            static_cast<double>(size - std::count(mask->pixels, mask->pixels + size, 0));
      }
    }
    return result;
  }

  SmartSegmenter::ProcessResult Process(const std::shared_ptr<Image>& image,
                                        const std::shared_ptr<ROI>& roi) override {
    obey(data_.artifact);
    SmartSegmenter::ProcessResult result;
    if (!image) return result;
    const auto width = roi ? roi->width : image->layout[0];
    const auto height = roi ? roi->height : image->layout[1];
    result.resultImages["first"] = flat(width, height, image->pixels[0]);
    result.resultImages["second"] = flat(width, height, 255);
    return result;
  }

  SmartSegmenter::ProcessResults BatchProcess(const CommonDataSet& batch,
                                              const ImageLoader& loader) override {
    SmartSegmenter::ProcessResults results;
    for (const auto& [key, sample] : batch.samples) {
      results.results[sample.imageId] = Process(load(loader, sample.imageId), nullptr);
    }
    return results;
  }
};

class Reader : public EchoTool<ISmartOCRWrapper, SmartOCR::Data> {
 public:
  using EchoTool::EchoTool;

  SmartOCR::TrainResult Train(const SmartOCR::Dataset& dataset,
                              const ImageLoader& loader) override {
    obey(data_.artifact);
    SmartOCR::TrainResult result;
    result.trainingTime = dataset.width;
    result.resultValue = dataset.height;
    using Scores = std::vector<float>;
    result.labeledSampleResults =
        std::make_shared<std::map<std::string, std::shared_ptr<Scores>>>();
    for (const auto& data : dataset.trainData) {
      load(loader, data.imageId);
      auto& scores = (*result.labeledSampleResults)[data.imageId] = std::make_shared<Scores>();
      if (data.roi) scores->push_back(data.roi->skew);
      for (const auto& label : data.assignments) {
        scores->push_back(static_cast<float>(label.firstValue));
        scores->push_back(static_cast<float>(label.secondValue));
        scores->push_back(static_cast<float>(label.categoryId.size()));
      }
    }
    return result;
  }

  SmartOCR::ProcessResult Process(std::shared_ptr<Image> image, const std::shared_ptr<ROI>& roi,
                                  const SmartOCR::Size& size,
                                  const SmartOCR::AdvancedFielding& fielding) override {
    auto result = Process(std::move(image), roi, size);
    std::string text;
    for (const auto& [name, lines] : fielding.patterns) {
      text += name + ":";
      for (const auto& line : lines) {
        for (const auto& position : line) text += position + ",";
        text += ";";
      }
    }
    result.fieldingResult.patternName = text;
    result.fieldingResult.sample = result.sample;
    return result;
  }

  SmartOCR::ProcessResult Process(std::shared_ptr<Image> image, const std::shared_ptr<ROI>& roi,
                                  const SmartOCR::Size& size,
                                  const SmartOCR::BasicFielding& fielding) override {
    auto result = Process(std::move(image), roi, size);
    result.fieldingResult.patternName = fielding.allowedCharacters + std::to_string(fielding.count);
    result.fieldingResult.sample = result.sample;
    return result;
  }

  // One character at the region's place, of the strength of its angle; the size as mean and lowest.
  SmartOCR::ProcessResult Process(std::shared_ptr<Image> image, const std::shared_ptr<ROI>& roi,
                                  const SmartOCR::Size& size) override {
    obey(data_.artifact);
    SmartOCR::ProcessResult result;
    result.processingTime = image->layout[0];
    auto& sample = result.sample;
    sample.firstValue = size.width;
    sample.secondValue = size.height;
    sample.characters = std::make_shared<std::vector<SmartOCR::CharacterResult>>(1);
    auto& character = sample.characters->front();
    if (roi) {
      character.firstValue = roi->x;
      character.secondValue = roi->y;
      character.thirdValue = roi->angle;
    }
    using Scores = std::vector<SmartOCR::CharacterCategoryResult>;
    character.categoryResults =
        std::make_shared<Scores>(Scores{{"\xC3\x84", 0.75}, {"\xFF", 0.25}});
    sample.lines = std::make_shared<std::vector<SmartOCR::Line>>();
    sample.lines->emplace_back("\xC3\x84", std::vector<int>{0});
    return result;
  }

  std::vector<std::vector<std::uint64_t>> SortCharacters(
      const std::vector<std::pair<float, float>>& points, float height) override {
    if (height <= 0) throw std::runtime_error("height must be positive");
    std::vector<std::vector<std::uint64_t>> lines;
    for (const auto& [x, y] : points) {
      lines.push_back({static_cast<std::uint64_t>(x), static_cast<std::uint64_t>(y)});
    }
    return lines;
  }
};

class Factory : public IWrapperFactory {
 public:
  std::shared_ptr<ISmartOCRWrapper> CreateSmartOCRWrapper(
      std::unique_ptr<SmartOCR::Data> data) override {
    return std::make_shared<Reader>(*data);
  }
  std::shared_ptr<ISmartClassifierWrapper> CreateSmartClassifierWrapper(
      std::unique_ptr<SmartClassifier::Data> data) override {
    return std::make_shared<Classifier>(*data);
  }
  std::shared_ptr<ISmartSegmenterWrapper> CreateSmartSegmenterWrapper(
      std::unique_ptr<SmartSegmenter::Data> data) override {
    return std::make_shared<Segmenter>(*data);
  }
};

}  // namespace

extern "C" void CreateWrapperFactory(std::shared_ptr<IWrapperFactory>& factory) {
  factory = std::make_shared<Factory>();
}

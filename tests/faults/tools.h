#pragma once

// The three tools over the scripted engine, under one shape.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "scripted_engine/script.h"

namespace faults {

using namespace Orbalt::TelvarWrapper;
namespace engine = scripted_engine;

// Too long for a string to keep without an allocation.
inline const std::string kArtifact = "an artifact long enough to be allocated";
inline const std::string kNewArtifact = "another artifact long enough to be allocated";
inline const std::string kCache = engine::saved_cache("contents long enough to be allocated");
inline const std::string kNewCache = kCache + ", and what a run added to them";
inline const std::string kId = "an identifier long enough to be allocated";
inline const std::string kOtherId = "some other identifier, also long enough";

/// Enough identifiers for a message's map to grow several times.
inline std::vector<std::string> ManyIds() {
  std::vector<std::string> ids;
  for (int i = 0; i < 20; ++i) ids.push_back(kId + std::to_string(i));
  return ids;
}

inline std::shared_ptr<Types::Image> HostImage(const std::string& = "") {
  return Types::MakeImage({4, 2, 6, 1, 8, 0}, std::vector<unsigned char>(12, 128));
}

/// Makes the engine answer every call, and change artifact and train cache in every run.
void SetScript();

inline std::shared_ptr<Types::IWrapperFactory> NewFactory() {
  std::shared_ptr<Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  return factory;
}

struct Ocr {
  using Data = Types::SmartOCR::Data;
  using Interface = Types::ISmartOCRWrapper;
  static auto Create(Types::IWrapperFactory& factory, std::unique_ptr<Data> data) {
    return factory.CreateSmartOCRWrapper(std::move(data));
  }
  static auto Process(Interface& tool) {
    return tool.Process(HostImage(), std::make_shared<Types::ROI>(0.f, 0.f, 0.f, 0.f, 4, 2),
                        {10.0f, 20.0f});
  }
  static auto Train(Interface& tool, bool with_samples, const Types::ImageLoader& loader) {
    Types::SmartOCR::Dataset dataset;
    dataset.width = 10;
    dataset.height = 20;
    if (with_samples) {
      const auto roi = std::make_shared<Types::ROI>();
      for (const std::string& id : ManyIds()) {
        dataset.trainData.push_back({{{1, 2, id}, {3, 4, kOtherId}}, id, roi});
      }
    }
    return tool.Train(dataset, loader);
  }
};

struct Classifier {
  using Data = Types::SmartClassifier::Data;
  using Interface = Types::ISmartClassifierWrapper;
  static auto Create(Types::IWrapperFactory& factory, std::unique_ptr<Data> data) {
    return factory.CreateSmartClassifierWrapper(std::move(data));
  }
  static auto Process(Interface& tool) { return tool.Process(HostImage()); }
  static auto Train(Interface& tool, bool with_samples, const Types::ImageLoader& loader) {
    Types::SmartClassifier::Dataset dataset;
    if (with_samples) {
      for (const std::string& id : ManyIds()) dataset.samples[id] = {kId, id};
    }
    return tool.Train(dataset, loader);
  }
};

struct Segmenter {
  using Data = Types::SmartSegmenter::Data;
  using Interface = Types::ISmartSegmenterWrapper;
  static auto Create(Types::IWrapperFactory& factory, std::unique_ptr<Data> data) {
    return factory.CreateSmartSegmenterWrapper(std::move(data));
  }
  static auto Process(Interface& tool) { return tool.Process(HostImage(), nullptr); }
  static auto Train(Interface& tool, bool with_samples, const Types::ImageLoader& loader) {
    Types::SmartSegmenter::Dataset dataset;
    if (with_samples) {
      const auto roi = std::make_shared<Types::ROI>();
      for (const std::string& id : ManyIds()) {
        dataset.categories.push_back(id);
        dataset.samples.push_back({id, roi, {{id, kId}, {kOtherId, kId}}});
      }
    }
    return tool.Train(dataset, loader, loader);
  }
};

template <typename Interface>
auto Batch(Interface& tool, bool with_samples, const Types::ImageLoader& loader) {
  Types::CommonDataSet dataset;
  if (with_samples) {
    for (const std::string& id : ManyIds()) dataset.samples[id] = {kId};
  }
  return tool.BatchProcess(dataset, loader);
}

template <typename Tool>
auto Make() {
  return Tool::Create(*NewFactory(), std::make_unique<typename Tool::Data>(kArtifact, kCache));
}

}  // namespace faults

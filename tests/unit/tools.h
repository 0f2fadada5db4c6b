#pragma once

// The three tools under one shape, and small helpers, for the wrapper's unit tests.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <TelvarTypes/TelvarTypes.h>

#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "classifier/SmartClassifierWrapper.h"
#include "ocr/SmartOCRWrapper.h"
#include "scripted_engine/script.h"
#include "segmenter/SmartSegmenterWrapper.h"
#include "telvar/exceptions.h"

namespace Orbalt::TelvarWrapper::Tests {

namespace engine = scripted_engine;

/// "<type>: <text>" of what `call` threw; "nothing" when it returned.
template <typename Call>
std::string ThrownBy(Call&& call) {
  try {
    call();
  } catch (const std::exception& error) {
    return std::string(typeid(error).name()) + ": " + error.what();
  } catch (...) {
    return "no std::exception";
  }
  return "nothing";
}

/// How ThrownBy writes an exception of exactly this type.
template <typename Exception>
std::string An(const std::string& text) {
  return std::string(typeid(Exception).name()) + ": " + text;
}

/// A 4 x 2 gray image with two bytes of padding per row.
inline std::shared_ptr<Types::Image> HostImage(unsigned char first = 1) {
  std::vector<unsigned char> pixels(12);
  for (unsigned char& pixel : pixels) pixel = first++;
  return Types::MakeImage({4, 2, 6, 1, 8, 0}, std::move(pixels));
}

inline std::shared_ptr<Types::Image> LoadHostImage(const std::string&) {
  return HostImage();
}

/// Bytes that are no UTF-8, with a zero among them.
inline std::string OddBytes() {
  return std::string("a\0\xff\xfe\x80z", 6);
}

/// Starts every test with an empty script.
class ScriptedTest : public testing::Test {
 protected:
  ScriptedTest() { engine::reset(); }
};

struct OcrTool {
  static constexpr const char* kName = "ocr";
  using Object = Wrapper::SmartOCRWrapper;
  using Access = Wrapper::TelvarAccess;
  using Data = Types::SmartOCR::Data;

  static void Process(Object& tool) { tool.Process(HostImage(), nullptr, {10.0f, 20.0f}); }
  static void Train(Object& tool, const Types::ImageLoader& loader = LoadHostImage) {
    Types::SmartOCR::Dataset dataset;
    dataset.width = 10;
    dataset.height = 20;
    tool.Train(dataset, loader);
  }
};

struct ClassifierTool {
  static constexpr const char* kName = "classifier";
  using Object = Wrapper::SmartClassifierWrapper;
  using Access = Wrapper::TelvarClassifierAccess;
  using Data = Types::SmartClassifier::Data;

  static void Process(Object& tool) { tool.Process(HostImage()); }
  static void Train(Object& tool, const Types::ImageLoader& loader = LoadHostImage) {
    tool.Train({}, loader);
  }
  static void Batch(Object& tool, const Types::ImageLoader& loader = LoadHostImage) {
    tool.BatchProcess({}, loader);
  }
};

struct SegmenterTool {
  static constexpr const char* kName = "segmenter";
  using Object = Wrapper::SmartSegmenterWrapper;
  using Access = Wrapper::TelvarSegmenterAccess;
  using Data = Types::SmartSegmenter::Data;

  static void Process(Object& tool) { tool.Process(HostImage(), nullptr); }
  static void Train(Object& tool, const Types::ImageLoader& loader = LoadHostImage) {
    tool.Train({}, loader, LoadHostImage);
  }
  static void Batch(Object& tool, const Types::ImageLoader& loader = LoadHostImage) {
    tool.BatchProcess({}, loader);
  }
};

/// A wrapper over the default access object unless one is given.
template <typename Tool>
typename Tool::Object MakeTool(const std::string& artifact = "artifact",
                               const std::string& train_cache = "",
                               std::shared_ptr<typename Tool::Access> access = nullptr) {
  return typename Tool::Object(std::make_unique<typename Tool::Data>(artifact, train_cache),
                               std::move(access));
}

}  // namespace Orbalt::TelvarWrapper::Tests

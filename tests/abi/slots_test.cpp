// Hosts are compiled against slot numbers, not names. Each test calls every virtual operation of
// one class by its number and looks which operation answered.

#include <gtest/gtest.h>

#include <TelvarTypes/TelvarTypes.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Orbalt::TelvarWrapper;

namespace {

using Loader = std::function<std::shared_ptr<Types::Image>(const std::string&)>;
using ImagePointer = std::shared_ptr<Types::Image>;
using RoiPointer = std::shared_ptr<Types::ROI>;

template <typename Signature>
struct Slot;

// In the Itanium C++ ABI a member function is called as a function whose first parameter is the
// object, also where the result is returned through memory.
template <typename Result, typename... Arguments>
struct Slot<Result(Arguments...)> {
  static Result Call(void* object, std::size_t slot, Arguments... arguments) {
    void** table = *static_cast<void***>(object);
    const auto function = reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot]);
    return function(object, std::forward<Arguments>(arguments)...);
  }
};

struct OcrProbe final : Types::ISmartOCRWrapper {
  std::string called;
  std::unique_ptr<std::string> seen_by_const = std::make_unique<std::string>();

  Types::SmartOCR::TrainResult Train(const Types::SmartOCR::Dataset&, const Loader&) override {
    called = "train";
    return {};
  }
  Types::SmartOCR::ProcessResult Process(ImagePointer, const RoiPointer&,
                                         const Types::SmartOCR::Size&,
                                         const Types::SmartOCR::AdvancedFielding&) override {
    called = "process, advanced";
    return {};
  }
  Types::SmartOCR::ProcessResult Process(ImagePointer, const RoiPointer&,
                                         const Types::SmartOCR::Size&,
                                         const Types::SmartOCR::BasicFielding&) override {
    called = "process, basic";
    return {};
  }
  Types::SmartOCR::ProcessResult Process(ImagePointer, const RoiPointer&,
                                         const Types::SmartOCR::Size&) override {
    called = "process";
    return {};
  }
  std::vector<std::vector<std::uint64_t>> SortCharacters(
      const std::vector<std::pair<float, float>>&, float) override {
    called = "sort";
    return {};
  }
  std::unique_ptr<Types::SmartOCR::Data> GetData() const override {
    *seen_by_const = "data";
    return nullptr;
  }
};

TEST(Slots, OfTheOcrWrapperPutAdvancedFieldingBeforeBasicBeforePlain) {
  using namespace Types::SmartOCR;
  OcrProbe probe;
  Types::ISmartOCRWrapper* object = &probe;

  Slot<TrainResult(const Dataset&, const Loader&)>::Call(object, 0, {}, {});
  EXPECT_EQ(probe.called, "train");
  Slot<ProcessResult(ImagePointer, const RoiPointer&, const Size&, const AdvancedFielding&)>::Call(
      object, 1, {}, {}, {}, {});
  EXPECT_EQ(probe.called, "process, advanced");
  Slot<ProcessResult(ImagePointer, const RoiPointer&, const Size&, const BasicFielding&)>::Call(
      object, 2, {}, {}, {}, {});
  EXPECT_EQ(probe.called, "process, basic");
  Slot<ProcessResult(ImagePointer, const RoiPointer&, const Size&)>::Call(object, 3, {}, {}, {});
  EXPECT_EQ(probe.called, "process");
  Slot<std::vector<std::vector<std::uint64_t>>(const std::vector<std::pair<float, float>>&,
                                               float)>::Call(object, 4, {}, 0);
  EXPECT_EQ(probe.called, "sort");
  Slot<std::unique_ptr<Data>()>::Call(object, 5);
  EXPECT_EQ(*probe.seen_by_const, "data");
}

struct ClassifierProbe final : Types::ISmartClassifierWrapper {
  mutable std::string called;

  std::unique_ptr<Types::SmartClassifier::Data> GetData() const override {
    called = "data";
    return nullptr;
  }
  Types::SmartClassifier::TrainingResult Train(const Types::SmartClassifier::Dataset&,
                                               const Loader&) override {
    called = "train";
    return {};
  }
  Types::SmartClassifier::Result Process(ImagePointer) override {
    called = "process";
    return {};
  }
  Types::SmartClassifier::SamplesResult BatchProcess(const Types::CommonDataSet&,
                                                     const Loader&) override {
    called = "batch";
    return {};
  }
};

TEST(Slots, OfTheClassifierWrapperAreDataTrainProcessBatch) {
  using namespace Types::SmartClassifier;
  ClassifierProbe probe;
  Types::ISmartClassifierWrapper* object = &probe;

  Slot<std::unique_ptr<Data>()>::Call(object, 0);
  EXPECT_EQ(probe.called, "data");
  Slot<TrainingResult(const Dataset&, const Loader&)>::Call(object, 1, {}, {});
  EXPECT_EQ(probe.called, "train");
  Slot<Result(ImagePointer)>::Call(object, 2, {});
  EXPECT_EQ(probe.called, "process");
  Slot<SamplesResult(const Types::CommonDataSet&, const Loader&)>::Call(object, 3, {}, {});
  EXPECT_EQ(probe.called, "batch");
}

struct SegmenterProbe final : Types::ISmartSegmenterWrapper {
  mutable std::string called;

  std::unique_ptr<Types::SmartSegmenter::Data> GetData() const override {
    called = "data";
    return nullptr;
  }
  Types::SmartSegmenter::TrainingResult Train(const Types::SmartSegmenter::Dataset&, const Loader&,
                                              const Loader&) override {
    called = "train";
    return {};
  }
  Types::SmartSegmenter::ProcessResult Process(const ImagePointer&, const RoiPointer&) override {
    called = "process";
    return {};
  }
  Types::SmartSegmenter::ProcessResults BatchProcess(const Types::CommonDataSet&,
                                                     const Loader&) override {
    called = "batch";
    return {};
  }
};

TEST(Slots, OfTheSegmenterWrapperAreDataTrainProcessBatch) {
  using namespace Types::SmartSegmenter;
  SegmenterProbe probe;
  Types::ISmartSegmenterWrapper* object = &probe;

  Slot<std::unique_ptr<Data>()>::Call(object, 0);
  EXPECT_EQ(probe.called, "data");
  Slot<TrainingResult(const Dataset&, const Loader&, const Loader&)>::Call(object, 1, {}, {}, {});
  EXPECT_EQ(probe.called, "train");
  Slot<ProcessResult(const ImagePointer&, const RoiPointer&)>::Call(object, 2, {}, {});
  EXPECT_EQ(probe.called, "process");
  Slot<ProcessResults(const Types::CommonDataSet&, const Loader&)>::Call(object, 3, {}, {});
  EXPECT_EQ(probe.called, "batch");
}

struct FactoryProbe final : Types::IWrapperFactory {
  std::string called;

  std::shared_ptr<Types::ISmartOCRWrapper> CreateSmartOCRWrapper(
      std::unique_ptr<Types::SmartOCR::Data>) override {
    called = "ocr";
    return nullptr;
  }
  std::shared_ptr<Types::ISmartClassifierWrapper> CreateSmartClassifierWrapper(
      std::unique_ptr<Types::SmartClassifier::Data>) override {
    called = "classifier";
    return nullptr;
  }
  std::shared_ptr<Types::ISmartSegmenterWrapper> CreateSmartSegmenterWrapper(
      std::unique_ptr<Types::SmartSegmenter::Data>) override {
    called = "segmenter";
    return nullptr;
  }
};

TEST(Slots, OfTheFactoryAreOcrClassifierSegmenter) {
  FactoryProbe probe;
  Types::IWrapperFactory* object = &probe;

  using Ocr = std::shared_ptr<Types::ISmartOCRWrapper>(std::unique_ptr<Types::SmartOCR::Data>);
  using Classifier = std::shared_ptr<Types::ISmartClassifierWrapper>(
      std::unique_ptr<Types::SmartClassifier::Data>);
  using Segmenter =
      std::shared_ptr<Types::ISmartSegmenterWrapper>(std::unique_ptr<Types::SmartSegmenter::Data>);
  Slot<Ocr>::Call(object, 0, nullptr);
  EXPECT_EQ(probe.called, "ocr");
  Slot<Classifier>::Call(object, 1, nullptr);
  EXPECT_EQ(probe.called, "classifier");
  Slot<Segmenter>::Call(object, 2, nullptr);
  EXPECT_EQ(probe.called, "segmenter");
}

}  // namespace

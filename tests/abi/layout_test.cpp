// Public records are passed by value: the order of their fields is part of the binary interface.
// The compiler checks it; what can only be seen running follows at the end.

#include <gtest/gtest.h>

#include <TelvarTypes/TelvarTypes.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // records with maps have no standard layout

using namespace Orbalt::TelvarWrapper::Types;

namespace {

constexpr std::size_t AlignUp(std::size_t offset, std::size_t alignment) {
  return (offset + alignment - 1) / alignment * alignment;
}

// FIRST: the record's first field. NEXT: a field directly behind another. LAST: nothing follows.
#define FIRST(Record, field, Type)                              \
  static_assert(std::is_same_v<decltype(Record::field), Type>); \
  static_assert(offsetof(Record, field) == 0)
#define NEXT(Record, before, field, Type)                       \
  static_assert(std::is_same_v<decltype(Record::field), Type>); \
  static_assert(offsetof(Record, field) ==                      \
                AlignUp(offsetof(Record, before) + sizeof(Record::before), alignof(Type)))
#define LAST(Record, field)       \
  static_assert(sizeof(Record) == \
                AlignUp(offsetof(Record, field) + sizeof(Record::field), alignof(Record)))

template <typename T>
using Shared = std::shared_ptr<T>;
template <typename T>
using ByKey = std::unordered_map<std::string, T>;
using Strings = std::vector<std::string>;

FIRST(Image, layout, ImageLayout);
NEXT(Image, layout, pixels, const unsigned char*);
LAST(Image, pixels);
static_assert(sizeof(ImageLayout) == 24);

FIRST(ResultImage, layout, ImageLayout);
NEXT(ResultImage, layout, pixels, std::vector<unsigned char>);
LAST(ResultImage, pixels);

FIRST(ROI, x, float);
NEXT(ROI, x, y, float);
NEXT(ROI, y, angle, float);
NEXT(ROI, angle, skew, float);
NEXT(ROI, skew, width, std::uint32_t);
NEXT(ROI, width, height, std::uint32_t);
LAST(ROI, height);

FIRST(CommonSample, imageId, std::string);
FIRST(CommonDataSet, samples, ByKey<CommonSample>);

template <typename Data>
constexpr bool IsToolData() {
  return std::has_virtual_destructor_v<Data> && !std::is_default_constructible_v<Data> &&
         std::is_constructible_v<Data, const std::string&, const std::string&> &&
         offsetof(Data, artifact) == sizeof(void*) &&
         offsetof(Data, trainCache) == sizeof(void*) + sizeof(std::string) &&
         sizeof(Data) == sizeof(void*) + 2 * sizeof(std::string);
}
static_assert(IsToolData<SmartOCR::Data>());
static_assert(IsToolData<SmartClassifier::Data>());
static_assert(IsToolData<SmartSegmenter::Data>());

namespace ocr = SmartOCR;
FIRST(ocr::Size, width, float);
NEXT(ocr::Size, width, height, float);
LAST(ocr::Size, height);

FIRST(ocr::CharacterCategoryResult, categoryId, std::string);
NEXT(ocr::CharacterCategoryResult, categoryId, score, double);
LAST(ocr::CharacterCategoryResult, score);

FIRST(ocr::CharacterResult, firstValue, double);
NEXT(ocr::CharacterResult, firstValue, secondValue, double);
NEXT(ocr::CharacterResult, secondValue, thirdValue, double);
NEXT(ocr::CharacterResult, thirdValue, categoryResults,
     Shared<std::vector<ocr::CharacterCategoryResult>>);
LAST(ocr::CharacterResult, categoryResults);

FIRST(ocr::Line, text, std::string);
NEXT(ocr::Line, text, indexes, std::vector<int>);
LAST(ocr::Line, indexes);

FIRST(ocr::Sample, firstValue, double);
NEXT(ocr::Sample, firstValue, secondValue, double);
NEXT(ocr::Sample, secondValue, characters, Shared<std::vector<ocr::CharacterResult>>);
NEXT(ocr::Sample, characters, lines, Shared<std::vector<ocr::Line>>);
LAST(ocr::Sample, lines);

FIRST(ocr::FieldingResult, sample, ocr::Sample);
NEXT(ocr::FieldingResult, sample, patternName, std::string);
LAST(ocr::FieldingResult, patternName);

FIRST(ocr::ProcessResult, processingTime, double);
NEXT(ocr::ProcessResult, processingTime, sample, ocr::Sample);
NEXT(ocr::ProcessResult, sample, fieldingResult, ocr::FieldingResult);
LAST(ocr::ProcessResult, fieldingResult);

FIRST(ocr::BasicFielding, allowedCharacters, std::string);
NEXT(ocr::BasicFielding, allowedCharacters, count, std::int32_t);
LAST(ocr::BasicFielding, count);
FIRST(ocr::AdvancedFielding, patterns, ByKey<std::vector<Strings>>);

FIRST(ocr::TrainDataAssignment, firstValue, double);
NEXT(ocr::TrainDataAssignment, firstValue, secondValue, double);
NEXT(ocr::TrainDataAssignment, secondValue, categoryId, std::string);
LAST(ocr::TrainDataAssignment, categoryId);

FIRST(ocr::TrainData, assignments, std::vector<ocr::TrainDataAssignment>);
NEXT(ocr::TrainData, assignments, imageId, std::string);
NEXT(ocr::TrainData, imageId, roi, Shared<ROI>);
LAST(ocr::TrainData, roi);

FIRST(ocr::Dataset, width, double);
NEXT(ocr::Dataset, width, height, double);
NEXT(ocr::Dataset, height, trainData, std::vector<ocr::TrainData>);
LAST(ocr::Dataset, trainData);

using LabelConfidences = std::map<std::string, Shared<std::vector<float>>>;
FIRST(ocr::TrainResult, trainingTime, double);
NEXT(ocr::TrainResult, trainingTime, resultValue, double);
NEXT(ocr::TrainResult, resultValue, labeledSampleResults, Shared<LabelConfidences>);
LAST(ocr::TrainResult, labeledSampleResults);

namespace classifier = SmartClassifier;
using Scores = std::vector<classifier::CategoryScore>;
FIRST(classifier::CategoryScore, categoryId, std::string);
NEXT(classifier::CategoryScore, categoryId, score, double);
LAST(classifier::CategoryScore, score);
FIRST(classifier::Result, scores, Scores);
FIRST(classifier::SamplesResult, samples, ByKey<Scores>);
FIRST(classifier::Sample, imageId, std::string);
NEXT(classifier::Sample, imageId, categoryId, std::string);
LAST(classifier::Sample, categoryId);
FIRST(classifier::Dataset, categories, Strings);
NEXT(classifier::Dataset, categories, samples, ByKey<classifier::Sample>);
LAST(classifier::Dataset, samples);
FIRST(classifier::TrainingResult, overallScore, double);
NEXT(classifier::TrainingResult, overallScore, samples, ByKey<Scores>);
LAST(classifier::TrainingResult, samples);

namespace segmenter = SmartSegmenter;
using ResultImages = std::map<std::string, Shared<ResultImage>>;
FIRST(segmenter::ProcessResult, resultImages, ResultImages);
FIRST(segmenter::ProcessResults, results, ByKey<segmenter::ProcessResult>);
FIRST(segmenter::Sample, imageId, std::string);
NEXT(segmenter::Sample, imageId, roi, Shared<ROI>);
NEXT(segmenter::Sample, roi, categoryMasks, ByKey<std::string>);
LAST(segmenter::Sample, categoryMasks);
FIRST(segmenter::Dataset, categories, Strings);
NEXT(segmenter::Dataset, categories, samples, std::vector<segmenter::Sample>);
LAST(segmenter::Dataset, samples);
FIRST(segmenter::TrainingResult, score, double);
LAST(segmenter::TrainingResult, score);

// The interfaces hold nothing but the pointer to their table, which has no destructor in it.
template <typename Interface>
constexpr bool IsBareInterface() {
  return std::is_abstract_v<Interface> && sizeof(Interface) == sizeof(void*) &&
         !std::has_virtual_destructor_v<Interface>;
}
static_assert(IsBareInterface<IWrapperFactory>());
static_assert(IsBareInterface<ISmartOCRWrapper>());
static_assert(IsBareInterface<ISmartClassifierWrapper>());
static_assert(IsBareInterface<ISmartSegmenterWrapper>());

TEST(Records, AreFullyInitialisedByDefault) {
  const Image image;
  EXPECT_EQ(image.layout, ImageLayout{});
  EXPECT_EQ(image.pixels, nullptr);
  const ROI roi;
  EXPECT_EQ(roi.x + roi.y + roi.angle + roi.skew, 0.0f);
  EXPECT_EQ(roi.width + roi.height, 0U);
  const ocr::ProcessResult result;
  EXPECT_EQ(result.processingTime, 0.0);
  EXPECT_EQ(result.fieldingResult.sample.characters, nullptr);
  EXPECT_EQ(result.fieldingResult.sample.lines, nullptr);
}

TEST(MakeImage, LetsTheImageOwnItsBytes) {
  const std::shared_ptr<Image> image = MakeImage({2, 1, 2, 1, 8, 0}, {7, 9});
  EXPECT_EQ(image->layout, (ImageLayout{2, 1, 2, 1, 8, 0}));
  ASSERT_NE(image->pixels, nullptr);
  EXPECT_EQ(image->pixels[1], 9);
}

}  // namespace

// A host that fills every public record by braces, in field order, whole and from the front, and
// hands records to the calls as braces. That it compiles is half of the test.

#include <TelvarTypes/TelvarTypes.h>

#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using namespace Orbalt::TelvarWrapper::Types;

namespace {

int faults = 0;

void Check(bool good, const char* record) {
  if (good) return;
  ++faults;
  std::printf("%s: a field is not where its place in the braces puts it\n", record);
}

void FillSharedRecords() {
  const unsigned char byte = 7;
  const Image image{{1, 2, 3, 4, 5, 6}, &byte};
  Check(image.layout[5] == 6 && image.pixels == &byte, "Image");
  Check(Image{{1, 2, 3, 4, 5, 6}}.pixels == nullptr, "Image");
  const ResultImage made{{2, 1, 2, 1, 8, 0}, {10, 20}};
  Check(made.layout[0] == 2 && made.pixels[1] == 20, "ResultImage");
  const ROI roi{1, 2, 3, 4, 5, 6};
  Check(roi.x == 1 && roi.y == 2 && roi.angle == 3 && roi.skew == 4, "ROI");
  Check(roi.width == 5 && roi.height == 6 && ROI{1, 2}.width == 0, "ROI");

  CommonDataSet batch{{{"key", {"image"}}, {"other", CommonSample{"image"}}}};
  batch.samples["third"] = {"image 3"};
  Check(batch.samples.size() == 3 && batch.samples["third"].imageId == "image 3", "CommonDataSet");
  Check(batch.samples["key"].imageId == "image" && CommonDataSet{{}}.samples.empty(),
        "CommonSample");
}

template <typename Data>
void FillState(const char* tool) {
  const Data data{"artifact", "cache"};
  Check(data.artifact == "artifact" && data.trainCache == "cache", tool);
}

void FillReaderRecords() {
  using namespace SmartOCR;
  const auto scores = std::make_shared<std::vector<CharacterCategoryResult>>(
      std::vector<CharacterCategoryResult>{{"A", 0.75}, {"B"}});
  const auto characters = std::make_shared<std::vector<CharacterResult>>(
      std::vector<CharacterResult>{{1.5, 2.5, 0.5, scores}, {3.5}});
  const auto lines = std::make_shared<std::vector<Line>>(std::vector<Line>{{"A", {0}}, {"B"}});
  const Sample sample{0.25, 0.125, characters, lines};
  const ProcessResult result{3, sample, {sample, "name"}};
  Check(result.processingTime == 3 && result.sample.lines->at(0).indexes[0] == 0, "ProcessResult");
  Check(result.fieldingResult.patternName == "name", "FieldingResult");
  Check(result.fieldingResult.sample.secondValue == 0.125, "Sample");
  const CharacterResult& first = result.sample.characters->at(0);
  Check(first.secondValue == 2.5 && first.thirdValue == 0.5, "CharacterResult");
  Check(first.categoryResults->at(0).score == 0.75, "CharacterCategoryResult");
  Check(ProcessResult{1, {0.5, 0.5}}.fieldingResult.patternName.empty(), "ProcessResult");

  Check(Size{10, 20}.height == 20, "Size");
  Check(BasicFielding{"0123", 4}.count == 4 && BasicFielding{"0"}.count == 0, "BasicFielding");
  AdvancedFielding fielding{{{"date", {{"0123", "0-9"}, {"x"}}}, {"none", {}}}};
  fielding.patterns["lot"] = {{"L", "0123456789"}};
  Check(fielding.patterns["date"][0][1] == "0-9", "AdvancedFielding");
  Check(fielding.patterns["lot"][0].size() == 2, "AdvancedFielding");

  const auto roi = std::make_shared<ROI>(ROI{1, 2, 0, 0, 30, 40});
  const TrainData page{{{1.5, 2.5, "A"}, {3.5, 4.5}}, "page", roi};
  const Dataset dataset{18, 24, {page, {{{1, 2, "C"}}, "second"}, TrainData{}}};
  Check(dataset.width == 18 && dataset.height == 24 && dataset.trainData.size() == 3, "Dataset");
  Check(dataset.trainData[0].roi == roi && dataset.trainData[1].imageId == "second", "TrainData");
  Check(dataset.trainData[0].assignments[0].categoryId == "A", "TrainDataAssignment");
  using Scores = decltype(TrainResult::labeledSampleResults)::element_type;
  const TrainResult trained{5, 0.75, std::make_shared<Scores>(Scores{{"page", nullptr}})};
  Check(trained.resultValue == 0.75 && trained.labeledSampleResults->size() == 1, "TrainResult");
}

void FillClassifierRecords() {
  using namespace SmartClassifier;
  const Result one{{{"good", 0.75}}};
  const Result two{{{"good", 0.75}, CategoryScore{"bad", 0.25}}};
  Check(one.scores.size() == 1 && two.scores[1].score == 0.25, "Result");
  const SamplesResult batch{{{"key", {{"good", 0.75}, {"bad", 0.25}}}}};
  Check(batch.samples.at("key")[1].categoryId == "bad", "SamplesResult");
  Dataset dataset{{"good", "bad"}, {{"key", {"image", "good"}}}};
  dataset.samples["k"] = {"i"};
  dataset.samples["l"] = {"j", "bad"};
  Check(dataset.categories.size() == 2 && dataset.samples["l"].categoryId == "bad", "Dataset");
  Check(dataset.samples["key"].imageId == "image", "Sample");
  const TrainingResult trained{0.5, {{"key", {{"good", 1}}}}};
  Check(trained.overallScore == 0.5 && trained.samples.at("key")[0].score == 1, "TrainingResult");
}

void FillSegmenterRecords() {
  using namespace SmartSegmenter;
  const auto image = std::make_shared<ResultImage>(ResultImage{{2, 1, 2, 1, 8, 0}, {1, 2}});
  const ProcessResult result{{{"scratch", image}}};
  const ProcessResults results{{{"image", result}, {"other", {{{"dent", image}}}}}};
  Check(results.results.at("other").resultImages.at("dent") == image, "ProcessResults");
  const auto roi = std::make_shared<ROI>();
  const Dataset dataset{{"scratch", "dent"}, {{"1", roi, {{"dent", "mask"}}}, {"2"}, {"3", roi}}};
  Check(dataset.categories[1] == "dent" && dataset.samples[1].imageId == "2", "Dataset");
  Check(dataset.samples[0].categoryMasks.at("dent") == "mask", "Sample");
  Check(dataset.samples[2].roi == roi && TrainingResult{0.5}.score == 0.5, "TrainingResult");
}

/// Never called: which overload the braces mean is decided by the compiler.
[[maybe_unused]] void CallByBraces(ISmartOCRWrapper& reader, ISmartClassifierWrapper& classifier,
                                   ISmartSegmenterWrapper& segmenter) {
  reader.Process(nullptr, nullptr, {10, 20}, {"0123", 4});
  reader.Process(nullptr, nullptr, {10, 20}, {{{"date", {{"0", "1"}}}}});
  reader.Train({18, 24, {{{{1, 2, "A"}}, "page"}}}, nullptr);
  classifier.Train({{}, {{"k", {"i", "good"}}}}, nullptr);
  classifier.BatchProcess({{{"k", {"i"}}}}, nullptr);
  segmenter.Train({{"dent"}, {{"i", nullptr, {{"dent", "m"}}}}}, nullptr, nullptr);
}

// Interfaces copy and move as far as a class without data can.
template <typename Interface>
constexpr bool kAssigns =
    std::is_copy_assignable_v<Interface>&& std::is_move_assignable_v<Interface>;
static_assert(kAssigns<IWrapperFactory> && kAssigns<ISmartOCRWrapper> &&
              kAssigns<ISmartClassifierWrapper> && kAssigns<ISmartSegmenterWrapper>);

}  // namespace

int main() {
  FillSharedRecords();
  FillState<SmartOCR::Data>("SmartOCR::Data");
  FillState<SmartClassifier::Data>("SmartClassifier::Data");
  FillState<SmartSegmenter::Data>("SmartSegmenter::Data");
  FillReaderRecords();
  FillClassifierRecords();
  FillSegmenterRecords();
  return faults == 0 ? 0 : 1;
}

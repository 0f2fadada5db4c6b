// What the wrapper costs over the engine, as ratios within one run; over the scripted engine, so
// that nothing else is measured.
//
//   (a) reading: a whole OCR Process whose engine returns a ready answer of 200 characters x 40
//       categories, against one ParseFromString of that answer (construction and destruction
//       included). The engine's own share, a copy of the answer, is measured by itself and taken
//       off. Limit: 2.
//   (b) pixels: what single-image calls allocate must not grow with the image; the images of a
//       segmenter are moved. Exit code 1 when pixels are copied.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "allocations.h"
#include "classifier/SmartClassifierWrapper.h"
#include "ocr/SmartOCRWrapper.h"
#include "scripted_engine/script.h"
#include "segmenter/SmartSegmenterWrapper.h"
#include "telvar_msg/ocr_result.pb.h"

namespace {

using namespace Orbalt::TelvarWrapper;
using telvar_msg::qv::ocr::Result;

constexpr int kCharacters = 200;
constexpr int kCategories = 40;
const Types::SmartOCR::Size kSize(20, 30);

std::string ReadyAnswer() {
  Result answer;
  answer.mutable_processing_time()->set_nanos(12345678);
  auto& sample = *answer.mutable_sample();
  auto& line = *sample.add_lines();
  for (int i = 0; i < kCharacters; ++i) {
    auto& character = *sample.add_characters();
    character.set_first_value(20.0f * static_cast<float>(i));
    character.set_second_value(15);
    character.set_third_value(0.9f);
    for (int k = 0; k < kCategories; ++k) {
      auto& score = *character.add_category_scores();
      score.set_category_id(std::string(1, static_cast<char>('0' + k)));
      score.set_score(1.0f / static_cast<float>(k + 2));
    }
    line.add_indexes(i);
    line.mutable_text()->push_back('0');
  }
  return answer.SerializeAsString();
}

std::shared_ptr<Types::Image> TestImage(unsigned width, unsigned height) {
  return Types::MakeImage({width, height, width, 1, 8, 0},
                          std::vector<unsigned char>(std::size_t{width} * height));
}

template <typename Tool, typename Data>
Tool MakeTool() {
  scripted_engine::reset();
  scripted_engine::script().recording = false;
  scripted_engine::script().answers["ocr.process"] = ReadyAnswer();
  return Tool(std::make_unique<Data>("artifact", ""), nullptr);
}

auto MakeReader() {
  return MakeTool<Wrapper::SmartOCRWrapper, Types::SmartOCR::Data>();
}

void Parse(benchmark::State& state) {
  const std::string answer = ReadyAnswer();
  for (auto _ : state) {
    Result result;
    benchmark::DoNotOptimize(result.ParseFromString(answer));
  }
}

void EngineAlone(benchmark::State& state) {
  const auto reader = MakeReader();  // sets the script
  const telvar::qv::ocr::Model model("artifact", "", telvar::types::CpuDevice());
  const auto image = TestImage(64, 48);
  const telvar::types::ImageView view(64, 48, 64, 1, 8, 0, image->pixels);
  for (auto _ : state) {
    benchmark::DoNotOptimize(model.process(view, {1, 0, 0, 0, 1, 0}, {0, 0}));
  }
}

void WholeProcess(benchmark::State& state) {
  auto reader = MakeReader();
  const auto image = TestImage(64, 48);
  for (auto _ : state) benchmark::DoNotOptimize(reader.Process(image, nullptr, kSize));
}

BENCHMARK(Parse);
BENCHMARK(EngineAlone);
BENCHMARK(WholeProcess);

/// Prints as usual and keeps the least CPU time of each benchmark.
class BestOf : public benchmark::ConsoleReporter {
 public:
  BestOf() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;  // no means and deviations
      const double time = run.GetAdjustedCPUTime();
      const auto best = best_.emplace(run.run_name.function_name, time).first;
      best->second = std::min(best->second, time);
    }
    ConsoleReporter::ReportRuns(runs);
  }

  /// Zero when it was not run by itself, as with --benchmark_report_aggregates_only.
  double Best(const std::string& name) const {
    const auto found = best_.find(name);
    return found == best_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> best_;
};

void PrintRatios(const BestOf& times) {
  const double parse = times.Best("Parse");
  const double engine = times.Best("EngineAlone");
  const double process = times.Best("WholeProcess");
  if (parse == 0 || engine == 0 || process == 0) return;
  std::printf(
      "OCR Process over one parse: %.2f without the engine's share, %.2f with it (limit 2)\n",
      (process - engine) / parse, process / parse);
}

bool Holds(const char* what, bool holds) {
  std::printf("%-58s %s\n", what, holds ? "yes" : "NO");
  return holds;
}

/// `process` twice for warming up, then on a small and a large image.
template <typename Process>
bool AllocatesAlikeForEverySize(const char* what, Process process) {
  const auto small = TestImage(64, 48);
  const auto large = TestImage(4096, 3072);
  process(small);
  process(large);
  const Allocations for_small = AllocationsOf([&] { process(small); });
  const Allocations for_large = AllocationsOf([&] { process(large); });
  std::printf("%s: %zu allocations, %zu bytes\n", what, for_large.count, for_large.bytes);
  return Holds("  the same for 3 kB and for 12 MB of pixels",
               for_small.count == for_large.count && for_small.bytes == for_large.bytes);
}

bool MovesResultImages() {
  auto segmenter = MakeTool<Wrapper::SmartSegmenterWrapper, Types::SmartSegmenter::Data>();
  const auto image = TestImage(64, 48);
  segmenter.Process(image, nullptr);
  telvar::types::Image result;
  result.layout = {4096, 3072, 4096, 1, 8, 0};
  result.pixels.resize(std::size_t{4096} * 3072);
  scripted_engine::script().result_images["category"] = std::move(result);
  const Allocations made = AllocationsOf([&] { segmenter.Process(image, nullptr); });
  std::printf("segmenter, one result image of 12 MB: %zu allocations, largest %zu bytes\n",
              made.count, made.largest);
  return Holds("  the result image is moved", made.largest < 4096);
}

bool CopiesNoPixels() {
  bool good = true;
  auto reader = MakeReader();
  good &= AllocatesAlikeForEverySize(
      "OCR Process", [&](const auto& image) { reader.Process(image, nullptr, kSize); });
  auto classifier = MakeTool<Wrapper::SmartClassifierWrapper, Types::SmartClassifier::Data>();
  good &= AllocatesAlikeForEverySize("classifier Process",
                                     [&](const auto& image) { classifier.Process(image); });
  auto segmenter = MakeTool<Wrapper::SmartSegmenterWrapper, Types::SmartSegmenter::Data>();
  good &= AllocatesAlikeForEverySize("segmenter Process",
                                     [&](const auto& image) { segmenter.Process(image, nullptr); });
  return MovesResultImages() && good;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  BestOf times;
  benchmark::RunSpecifiedBenchmarks(&times);
  PrintRatios(times);
  return CopiesNoPixels() ? 0 : 1;
}

// Training steps and inference of the three networks, by kernel set and number format, one thread.
// "sizes": an image of another size at every call, as regions of many sizes are.
//
//   networks_bench --benchmark_filter='train/reader'

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "classifier/network.h"
#include "classifier/samples/preparation.h"
#include "nn/inference.h"
#include "nn/training.h"
#include "ocr/network/network.h"
#include "ocr/samples/crops.h"
#include "segmenter/network/network.h"

namespace {

using namespace telvar;

struct Case {
  std::string name;
  nn::Network net;
  nn::InputSize size;  // of a chunk
  int chunks;          // of a training step; 0: inference only
};

std::vector<Case> cases() {
  core::Random random({1});
  nn::Network classes = classifier::network_layers(classifier::Canvas(), 10);
  classes.initialise(random);
  const nn::Network reader = ocr::make_network(40, random);
  const nn::Network segmenter = segmenter::make_initial_net(3, 3, 1);
  return {{"reader/1x56x144", reader, {1, ocr::kCropHeight, ocr::kCropWidth}, 2},
          {"reader/1x820x1024", reader, {1, 820, 1024}, 0},
          {"segmenter/4x128x128", segmenter, {4, 128, 128}, 2},
          {"segmenter/1x512x512", segmenter, {1, 512, 512}, 0},
          {"classifier/16x28x28", classes, {16, 28, 28}, 2}};
}

/// A loss that costs next to nothing: half the mean square of the answer.
double loss(nn::ChunkPass& pass) {
  const float* const answer = pass.forward();
  float* const gradient = pass.answer_gradient();
  const std::size_t count = pass.answer_shape().count();
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    gradient[i] = answer[i] / static_cast<float>(count);
    sum += 0.5 * answer[i] * gradient[i];
  }
  return sum;
}

void train(benchmark::State& state, const Case& one, const nn::TrainingMeans& means) {
  constexpr int kSteps = 10;
  core::TrainingPool pool(1);
  nn::TrainingPlan plan;
  plan.steps = kSteps;
  plan.chunks = one.chunks;
  for (auto _ : state) {
    nn::Network net = one.net;
    nn::train(
        net, one.size,
        [&](nn::ChunkPass& pass, int, int, core::Random& random) {
          float* const input = pass.input();
          for (std::size_t i = 0; i < pass.input_shape().count(); ++i) input[i] = random.normal();
          return loss(pass);
        },
        plan, pool, means);
  }
  state.counters["steps"] =
      benchmark::Counter(kSteps * state.iterations(), benchmark::Counter::kIsRate);
}

void infer(benchmark::State& state, const Case& one, const nn::TrainingMeans& means) {
  const nn::Inference inference(one.net, means.number, means.kernels);
  const std::vector<float> input(
      static_cast<std::size_t>(one.size.images) * one.size.height * one.size.width * 4, 0.5f);
  for (auto _ : state) benchmark::DoNotOptimize(inference(input.data(), one.size));
}

/// Images of the network's usual height and up to 24 sizes, one after the other.
void infer_sizes(benchmark::State& state, const Case& one, const nn::TrainingMeans& means) {
  constexpr int kSizes = 24, kStep = 4;
  const nn::Inference inference(one.net, means.number, means.kernels);
  const std::vector<float> input(static_cast<std::size_t>(one.size.height + kSizes * kStep) *
                                     (one.size.width + kSizes * kStep),
                                 0.5f);
  int call = 0;
  for (auto _ : state) {
    const int more = kStep * (7 * call++ % kSizes);
    benchmark::DoNotOptimize(
        inference(input.data(), {1, one.size.height + more / 2, one.size.width + more}));
  }
}

void register_all(const nn::KernelSet& set) {
  for (const nn::Number number : {nn::Number::kFloat, set.fastest_number()}) {
    const nn::TrainingMeans means{set, number};
    const std::string suffix =
        "/" + std::string(set.name()) + (number == nn::Number::kFloat ? "/float" : "/bfloat16");
    for (const Case& one : cases()) {
      if (one.chunks > 0) {
        benchmark::RegisterBenchmark(("train/" + one.name + suffix).c_str(),
                                     [=](benchmark::State& state) { train(state, one, means); });
      }
      benchmark::RegisterBenchmark(("infer/" + one.name + suffix).c_str(),
                                   [=](benchmark::State& state) { infer(state, one, means); });
    }
    const Case reader = cases().front();
    benchmark::RegisterBenchmark(
        ("infer/reader/sizes" + suffix).c_str(),
        [=](benchmark::State& state) { infer_sizes(state, reader, means); });
    if (number == set.fastest_number()) break;
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  if (nn::onednn_kernels() != nullptr) register_all(*nn::onednn_kernels());
  register_all(nn::portable_kernels());
  benchmark::RunSpecifiedBenchmarks();
}

// Speed of the convolution kernels over the shapes of the networks, every set on one thread.
//
//   kernels_bench --benchmark_filter='forward.*segmenter'
//   kernels_bench --targets=avx2       limits the portable set to these instructions

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <hwy/highway.h>

#include "nn/buffer.h"
#include "nn/dispatch.h"
#include "nn/kernels.h"

namespace {

using telvar::nn::Buffer;
using telvar::nn::Convolution;
using telvar::nn::ConvolutionGeometry;
using telvar::nn::Epilogue;
using telvar::nn::KernelSet;
using telvar::nn::KernelUse;
using telvar::nn::Number;

struct Layer {
  const char* name;
  ConvolutionGeometry geometry;  // images, height, width, in, out, kernel, stride, dilation
};

const Layer kLayers[] = {
    {"reader/stem", {1, 56, 144, 1, 32, 5, 2, 1}},
    {"reader/28x72x32", {1, 28, 72, 32, 32, 3, 1, 1}},
    {"reader/28x72x32_to_64_halved", {1, 28, 72, 32, 64, 3, 2, 1}},
    {"reader/14x36x64", {1, 14, 36, 64, 64, 3, 1, 1}},
    {"reader/14x36x64_dilated", {1, 14, 36, 64, 64, 3, 1, 2}},
    {"reader/points_64_to_40", {1, 14, 36, 64, 40, 1, 1, 1}},
    {"segmenter/128x128x4_to_16", {4, 128, 128, 4, 16, 3, 1, 1}},
    {"segmenter/128x128x16_to_32_halved", {4, 128, 128, 16, 32, 3, 2, 1}},
    {"segmenter/64x64x32", {4, 64, 64, 32, 32, 3, 1, 1}},
    {"segmenter/128x128x48_to_16", {4, 128, 128, 48, 16, 3, 1, 1}},
    {"segmenter/64x64x80_to_32", {4, 64, 64, 80, 32, 3, 1, 1}},
    {"segmenter/points_16_to_3", {4, 128, 128, 16, 3, 1, 1, 1}},
    {"classifier/28x28x1_to_16", {16, 28, 28, 1, 16, 3, 1, 1}},
    {"classifier/28x28x16_to_32_halved", {16, 28, 28, 16, 32, 3, 2, 1}},
    {"classifier/14x14x32", {16, 14, 14, 32, 32, 3, 1, 1}},
    {"classifier/7x7x64", {16, 7, 7, 64, 64, 3, 1, 1}},
    {"classifier/points_16_to_32_halved", {16, 28, 28, 16, 32, 1, 2, 1}},
};

Buffer memory(std::size_t bytes) {
  const std::size_t count = bytes / sizeof(float) + 1;
  Buffer buffer(count * sizeof(float));
  for (std::size_t i = 0; i < count; ++i) {
    buffer.floats()[i] = static_cast<float>(i % 97) / 97 - 0.5f;
  }
  return buffer;
}

struct Operands {
  explicit Operands(const Convolution& kernel, const ConvolutionGeometry& geometry)
      : input(memory(geometry.input_size() * sizeof(float))),
        output(memory(geometry.output_size() * sizeof(float))),
        weights(memory(geometry.weight_count() * sizeof(float))),
        bias(memory(geometry.out * sizeof(float))),
        packed(memory(kernel.packed_bytes())),
        packed_for_gradient(memory(kernel.packed_gradient_bytes())),
        scratch(memory(kernel.scratch_bytes())) {
    kernel.pack(weights.floats(), packed.floats(), scratch.floats());
    kernel.pack_for_gradient(weights.floats(), packed_for_gradient.floats(), scratch.floats());
  }
  Buffer input, output, weights, bias, packed, packed_for_gradient, scratch;
};

enum class Call { kForward, kInputGradient, kWeightGradient, kPack };

void run(benchmark::State& state, const KernelSet& set, const ConvolutionGeometry& geometry,
         Call call) {
  Epilogue epilogue;
  epilogue.bias = epilogue.relu = true;
  const auto kernel =
      set.make_convolution(geometry, Number::kFloat, epilogue, KernelUse::kTraining);
  const Operands at(*kernel, geometry);
  for (auto _ : state) {
    if (call == Call::kForward) {
      kernel->forward(at.input.floats(), at.packed.floats(), at.bias.floats(), nullptr,
                      at.output.floats(), at.scratch.floats());
    } else if (call == Call::kInputGradient) {
      kernel->input_gradient(at.output.floats(), at.packed_for_gradient.floats(), at.input.floats(),
                             at.scratch.floats());
    } else if (call == Call::kWeightGradient) {
      kernel->weight_gradient(at.input.floats(), at.output.floats(), at.weights.floats(),
                              at.scratch.floats());
    } else {
      kernel->pack(at.weights.floats(), at.packed.floats(), at.scratch.floats());
      kernel->pack_for_gradient(at.weights.floats(), at.packed_for_gradient.floats(),
                                at.scratch.floats());
    }
    benchmark::ClobberMemory();
  }
  if (call == Call::kPack) return;
  const double operations = 2.0 * geometry.output_size() * geometry.in * geometry.kernel *
                            geometry.kernel * static_cast<double>(state.iterations());
  state.counters["GFLOPS"] = benchmark::Counter(operations / 1e9, benchmark::Counter::kIsRate);
}

void register_all(const KernelSet& set) {
  const std::map<std::string, Call> calls = {{"forward", Call::kForward},
                                             {"input_gradient", Call::kInputGradient},
                                             {"weight_gradient", Call::kWeightGradient},
                                             {"pack", Call::kPack}};
  for (const auto& [name, call] : calls) {
    for (const Layer& layer : kLayers) {
      const std::string title = std::string(set.name()) + "/" + name + "/" + layer.name;
      benchmark::RegisterBenchmark(title.c_str(),
                                   [&set, &layer, call = call](benchmark::State& state) {
                                     run(state, set, layer.geometry, call);
                                   });
    }
  }
}

/// Takes --targets=... away from the arguments; false if it names none.
bool limit_targets(int& argc, char** argv) {
  const std::map<std::string, std::int64_t> targets = {
      {"avx512", HWY_AVX3}, {"avx2", HWY_AVX2}, {"sse4", HWY_SSE4}, {"baseline", 0}};
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--targets=", 0) != 0) continue;
    const auto target = targets.find(argument.substr(argument.find('=') + 1));
    if (target == targets.end()) return false;
    telvar::nn::limit_targets_for_test(target->second);
    for (; i + 1 < argc; ++i) argv[i] = argv[i + 1];
    --argc;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (!limit_targets(argc, argv)) {
    std::fputs("--targets=: one of avx512, avx2, sse4, baseline\n", stderr);
    return 2;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  if (telvar::nn::onednn_kernels() != nullptr) register_all(*telvar::nn::onednn_kernels());
  register_all(telvar::nn::portable_kernels());
  benchmark::RunSpecifiedBenchmarks();
}

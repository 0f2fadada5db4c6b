// Every set of kernels, on every instruction set that this processor has, against the definition.

#include "nn/kernels.h"
#include "nn/dispatch.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <tuple>

#include <gmock/gmock.h>
#include <hwy/highway.h>

#include "reference_convolution.h"

namespace telvar::nn {
namespace {

using testing::Each;
using testing::Test;

/// Memory as the kernels ask for it, with marked bytes behind it that nobody may change.
class Memory {
 public:
  explicit Memory(std::size_t bytes) : bytes_(bytes), words_((bytes + kGuard) / 64 + 2) {
    std::memset(data(), kMark, bytes + kGuard);
  }
  Memory(const Doubles& values, Number number) : Memory(values.size() * size_of(number)) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      const auto value = static_cast<float>(values[i]);
      if (number == Number::kFloat) {
        floats()[i] = value;
      } else {
        static_cast<bfloat16*>(data())[i] = to_bfloat16(value);
      }
    }
  }
  void* data() { return words_.data(); }
  float* floats() { return static_cast<float*>(data()); }
  Doubles values(Number number) {
    Doubles values(bytes_ / size_of(number));
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = number == Number::kFloat ? floats()[i]
                                           : to_float(static_cast<const bfloat16*>(data())[i]);
    }
    return values;
  }
  bool intact() {
    const auto* guard = static_cast<const unsigned char*>(data()) + bytes_;
    return std::all_of(guard, guard + kGuard, [](unsigned char byte) { return byte == kMark; });
  }

 private:
  static constexpr std::size_t kGuard = 256;
  static constexpr unsigned char kMark = 0xFB;  // huge as a float, so that reading it shows
  struct alignas(64) Line {
    unsigned char bytes[64];
  };
  std::size_t bytes_;
  std::vector<Line> words_;
};

/// Values that either number can hold, so that only the sums round.
Doubles random_values(std::size_t count, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal;
  Doubles values(count);
  for (double& value : values) value = to_float(to_bfloat16(normal(generator)));
  return values;
}

void expect_near(const Doubles& actual, const Doubles& expected, double tolerance,
                 const char* what) {
  ASSERT_EQ(actual.size(), expected.size()) << what;
  for (std::size_t i = 0; i < actual.size(); ++i) {
    // Not `>`: NaN has to fail.
    if (!(std::abs(actual[i] - expected[i]) <= tolerance * (1 + std::abs(expected[i])))) {
      FAIL() << what << "[" << i << "]: " << actual[i] << " instead of " << expected[i];
    }
  }
}

/// A convolution with random operands, and its memory.
struct Case {
  Case(const KernelSet& set, const ConvolutionGeometry& geometry, Number number = Number::kFloat,
       const Epilogue& epilogue = {}, KernelUse use = KernelUse::kTraining)
      : geometry(geometry),
        number(number),
        epilogue(epilogue),
        kernel(set.make_convolution(geometry, number, epilogue, use)),
        input(random_values(geometry.input_size(), 1)),
        weights(random_values(geometry.weight_count(), 2)),
        bias(random_values(geometry.out, 3)),
        residual(random_values(geometry.output_size(), 4)),
        output_gradient(random_values(geometry.output_size(), 5)),
        scratch(kernel->scratch_bytes()) {}

  Memory packed(std::size_t bytes, void (Convolution::*pack)(const float*, void*, void*) const) {
    Memory packed(bytes);
    Memory plain(weights, Number::kFloat);
    (kernel.get()->*pack)(plain.floats(), packed.data(), scratch.data());
    EXPECT_TRUE(packed.intact() && scratch.intact());
    return packed;
  }

  Doubles forward() {
    Memory weights = packed(kernel->packed_bytes(), &Convolution::pack);
    Memory from(input, number);
    Memory biases(bias, Number::kFloat);
    Memory residuals(residual, number);
    Memory to(geometry.output_size() * size_of(epilogue.output));
    kernel->forward(from.data(), weights.data(), biases.floats(), residuals.data(), to.data(),
                    scratch.data());
    EXPECT_TRUE(to.intact() && scratch.intact());
    return to.values(epilogue.output);
  }

  Doubles input_gradient() {
    Memory weights = packed(kernel->packed_gradient_bytes(), &Convolution::pack_for_gradient);
    Memory from(output_gradient, number);
    Memory to(geometry.input_size() * size_of(number));
    kernel->input_gradient(from.data(), weights.data(), to.data(), scratch.data());
    EXPECT_TRUE(to.intact() && scratch.intact());
    return to.values(number);
  }

  Doubles weight_gradient() {
    Memory first(input, number);
    Memory second(output_gradient, number);
    Memory to(geometry.weight_count() * sizeof(float));
    kernel->weight_gradient(first.data(), second.data(), to.floats(), scratch.data());
    EXPECT_TRUE(to.intact() && scratch.intact());
    return to.values(Number::kFloat);
  }

  Doubles expected_output() const {
    Doubles output = reference_sums(geometry, input, weights);
    for (std::size_t i = 0; i < output.size(); ++i) {
      if (epilogue.bias) output[i] += bias[i % geometry.out];
      if (epilogue.residual) output[i] += residual[i];
      if (epilogue.relu) output[i] = std::max(output[i], 0.0);
    }
    return output;
  }

  ConvolutionGeometry geometry;
  Number number;
  Epilogue epilogue;
  std::unique_ptr<const Convolution> kernel;
  Doubles input;
  Doubles weights;
  Doubles bias;
  Doubles residual;
  Doubles output_gradient;
  Memory scratch;
};

/// Of a result of size 1: half a unit of bfloat16, and what sums of single precision lose.
double tolerance_of(Number number) {
  return number == Number::kFloat ? 2e-5 : 1.0 / 256 + 2e-5;
}

struct NamedGeometry {
  const char* name;
  ConvolutionGeometry geometry;  // images, height, width, in, out, kernel, stride, dilation
};

const NamedGeometry kGeometries[] = {
    {"one value", {1, 1, 1, 1, 1, 1, 1, 1}},
    {"one position", {2, 1, 1, 5, 7, 3, 1, 1}},
    {"one position, stride 2", {1, 1, 1, 3, 4, 5, 2, 1}},
    {"stem", {1, 23, 38, 1, 32, 5, 2, 1}},
    {"stem of colours", {2, 12, 17, 3, 16, 3, 1, 1}},
    {"two vectors", {1, 9, 13, 32, 32, 3, 1, 1}},
    {"odd channels", {2, 8, 11, 13, 21, 3, 1, 1}},
    {"more channels than registers", {1, 5, 6, 9, 83, 3, 1, 1}},
    {"halved, even sides", {2, 14, 16, 16, 24, 3, 2, 1}},
    {"halved, odd sides", {2, 15, 13, 6, 10, 3, 2, 1}},
    {"halved, kernel 5", {1, 11, 12, 4, 8, 5, 2, 1}},
    {"stride beyond the kernel", {1, 10, 11, 3, 5, 3, 4, 1}},
    {"dilated", {1, 14, 9, 16, 16, 3, 1, 2}},
    {"dilated beyond the image", {2, 3, 2, 4, 6, 5, 1, 3}},
    {"dilated and halved", {1, 9, 10, 5, 8, 3, 2, 2}},
    {"points", {2, 7, 9, 16, 3, 1, 1, 1}},
    {"points, many channels", {1, 6, 5, 64, 40, 1, 1, 1}},
    {"halved points, even sides", {2, 8, 6, 16, 32, 1, 2, 1}},
    {"halved points, odd sides", {1, 7, 9, 4, 5, 1, 2, 1}},
    {"many small images", {40, 7, 7, 16, 16, 3, 1, 1}},
    {"rows too long for a band", {2, 5, 900, 33, 4, 3, 1, 1}},
    {"many bands, halved", {1, 67, 131, 20, 5, 3, 2, 1}},
    {"many bands of points, halved", {2, 61, 83, 24, 5, 1, 2, 1}},
};

/// A set, and the instructions that it is limited to.
struct Variant {
  std::string name;
  const KernelSet* set;
  std::int64_t targets;  // of Highway; -1: all
};

std::vector<Variant> variants() {
  std::vector<Variant> variants;
  if (onednn_kernels() != nullptr) variants.push_back({"onednn", onednn_kernels(), -1});
  const std::pair<const char*, std::int64_t> targets[] = {
      {"avx512", HWY_AVX3}, {"avx2", HWY_AVX2}, {"sse4", HWY_SSE4}, {"baseline", 0}};
  for (const auto& [name, target] : targets) {
    if ((supported_targets() & target) == 0 && target != 0) continue;
    variants.push_back({std::string("portable_") + name, &portable_kernels(), target});
  }
  return variants;
}

class KernelsTest : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override { select(GetParam().targets); }
  void TearDown() override { select(-1); }
  const KernelSet& set() const { return *GetParam().set; }

 private:
  static void select(std::int64_t targets) { limit_targets_for_test(targets); }
};

TEST_P(KernelsTest, ComputesConvolutionsAndTheirGradients) {
  for (const NamedGeometry& named : kGeometries) {
    SCOPED_TRACE(named.name);
    Case test(set(), named.geometry);
    const double tolerance = tolerance_of(Number::kFloat);
    expect_near(test.forward(), test.expected_output(), tolerance, "output");
    expect_near(test.input_gradient(),
                reference_input_gradient(named.geometry, test.output_gradient, test.weights),
                tolerance, "input gradient");
    expect_near(test.weight_gradient(),
                reference_weight_gradient(named.geometry, test.input, test.output_gradient),
                4 * tolerance, "weight gradient");
  }
}

TEST_P(KernelsTest, TakesRowsAboveAndBelowFromItsInput) {
  const ConvolutionGeometry cuts[] = {
      {1, 6, 20, 16, 32, 3, 1, 1, false}, {1, 12, 17, 8, 8, 3, 1, 2, false},
      {1, 19, 40, 1, 32, 5, 2, 1, false}, {1, 9, 16, 32, 24, 3, 2, 1, false},
      {1, 7, 9, 16, 3, 1, 1, 1, false},   {1, 70, 300, 33, 5, 3, 1, 1, false}};
  for (const ConvolutionGeometry& geometry : cuts) {
    for (const Number number : {Number::kFloat, Number::kBfloat16}) {
      Epilogue epilogue;
      epilogue.output = number;
      SCOPED_TRACE(std::to_string(geometry.height) + " rows");
      Case test(set(), geometry, number, epilogue, KernelUse::kInference);
      expect_near(test.forward(), test.expected_output(), tolerance_of(number), "output");
    }
  }
}

TEST_P(KernelsTest, AppliesEveryEpilogueToEitherNumber) {
  const ConvolutionGeometry geometry{2, 6, 7, 5, 21, 3, 1, 1};
  for (int flags = 0; flags < 32; ++flags) {
    const Number number = (flags & 16) != 0 ? Number::kBfloat16 : Number::kFloat;
    Epilogue epilogue;
    epilogue.bias = (flags & 1) != 0;
    epilogue.residual = (flags & 2) != 0;
    epilogue.relu = (flags & 4) != 0;
    epilogue.output = (flags & 8) != 0 ? Number::kBfloat16 : Number::kFloat;
    SCOPED_TRACE("flags " + std::to_string(flags));
    Case test(set(), geometry, number, epilogue);
    expect_near(test.forward(), test.expected_output(), tolerance_of(epilogue.output), "output");
  }
}

TEST_P(KernelsTest, ComputesGradientsOfBfloat16) {
  for (const ConvolutionGeometry& geometry : {ConvolutionGeometry{2, 9, 11, 6, 16, 3, 2, 1},
                                              ConvolutionGeometry{1, 7, 6, 16, 10, 3, 1, 2},
                                              ConvolutionGeometry{3, 5, 6, 32, 16, 1, 1, 1},
                                              ConvolutionGeometry{2, 5, 6, 16, 3, 1, 1, 1}}) {
    Case test(set(), geometry, Number::kBfloat16);
    expect_near(test.input_gradient(),
                reference_input_gradient(geometry, test.output_gradient, test.weights),
                tolerance_of(Number::kBfloat16), "input gradient");
    expect_near(test.weight_gradient(),
                reference_weight_gradient(geometry, test.input, test.output_gradient),
                tolerance_of(Number::kFloat), "weight gradient");
  }
}

TEST_P(KernelsTest, AddsTheResidualInPlace) {
  Epilogue epilogue;
  epilogue.residual = true;
  Case test(set(), {2, 5, 9, 16, 20, 3, 1, 1}, Number::kFloat, epilogue);
  Memory weights = test.packed(test.kernel->packed_bytes(), &Convolution::pack);
  Memory input(test.input, Number::kFloat);
  Memory output(test.residual, Number::kFloat);
  test.kernel->forward(input.data(), weights.data(), nullptr, output.data(), output.data(),
                       test.scratch.data());
  expect_near(output.values(Number::kFloat), test.expected_output(), tolerance_of(Number::kFloat),
              "output");
}

TEST_P(KernelsTest, AnswersTheSameFromSeveralThreads) {
  Case test(set(), {1, 30, 40, 16, 32, 3, 1, 1});
  Memory weights = test.packed(test.kernel->packed_bytes(), &Convolution::pack);
  Memory input(test.input, Number::kFloat);
  const Doubles expected = test.forward();
  std::vector<Doubles> answers(3);
  std::vector<std::thread> threads;
  for (Doubles& answer : answers) {
    threads.emplace_back([&] {
      Memory scratch(test.kernel->scratch_bytes());
      Memory output(test.geometry.output_size() * sizeof(float));
      for (int i = 0; i < 20; ++i) {
        test.kernel->forward(input.data(), weights.data(), nullptr, nullptr, output.data(),
                             scratch.data());
      }
      answer = output.values(Number::kFloat);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(answers, Each(expected));
}

INSTANTIATE_TEST_SUITE_P(Sets, KernelsTest, testing::ValuesIn(variants()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace telvar::nn

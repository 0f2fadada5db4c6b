#include "nn/network.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "nn/backpropagation.h"
#include "nn/inference.h"
#include "nn/weights.h"

namespace telvar::nn {
namespace {

/// Every kind of layer: a stem of odd size, a residual, a step down and up again, a pointwise head.
Network mixed_network() {
  Network net;
  ConvolutionOptions stem, down, residual;
  stem.kernel = 5;
  down.stride = 2;
  const Node fine = net.convolution("stem", net.input(2), 5, stem);
  residual.residual = fine;
  residual.dilation = 2;
  const Node same = net.convolution("same", fine, 5, residual);
  const Node coarse = net.convolution("down", same, 6, down);
  const Node block = net.residual_block("block", coarse, 7, 1);
  const Node merged = net.convolution("merge", net.join(same, block), 4);
  net.pointwise("head", merged, 3);
  return net;
}

Network pooled_network() {
  Network net;
  const Node body = net.residual_block("body", net.input(1), 6, 2);
  net.pointwise("head", net.mean(body), 4);
  return net;
}

/// Random weights, and statistics and scales that change something.
void randomise(Network& net, std::uint64_t seed) {
  core::Random random({seed});
  net.initialise(random);
  for (Parameter& parameter : net.parameters()) {
    if (parameter.decays()) continue;
    const bool positive = parameter.name.find("norm.weight") != std::string::npos ||
                          parameter.name.find("running_var") != std::string::npos;
    for (float& value : parameter.values) {
      value = positive ? random.uniform(0.5f, 2) : 0.5f * random.normal();
    }
  }
}

std::vector<float> random_values(std::size_t count, std::uint64_t seed) {
  core::Random random({seed});
  std::vector<float> values(count);
  for (float& value : values) value = random.normal();
  return values;
}

struct NetworkCase {
  const char* name;
  Network (*make)();
  InputSize size;
};

const NetworkCase kCases[] = {{"mixed", mixed_network, {2, 10, 12}},
                              {"mixed, odd sides", mixed_network, {1, 9, 7}},
                              {"pooled", pooled_network, {3, 6, 8}}};

std::vector<const KernelSet*> kernel_sets() {
  std::vector<const KernelSet*> sets{&portable_kernels()};
  if (onednn_kernels() != nullptr) sets.push_back(onednn_kernels());
  return sets;
}

/// A loss that weighs every answer differently: the sum of weight * answer.
class Gradients {
 public:
  Gradients(const NetworkCase& one, Network& net, const KernelSet& kernels, Number number)
      : net_(net), kernels_(net, one.size, number, kernels), pass_(kernels_) {
    input_ = random_values(pass_.input_shape().count(), 7);
    weights_ = random_values(pass_.answer_shape().count(), 8);
  }

  double loss() {
    for (std::size_t i = 0; i < net_.layers().size(); ++i) kernels_.pack(static_cast<int>(i));
    std::copy(input_.begin(), input_.end(), pass_.input());
    const float* answer = pass_.forward();
    double sum = 0;
    for (std::size_t i = 0; i < weights_.size(); ++i) sum += double{weights_[i]} * answer[i];
    return sum;
  }

  void backward() {
    std::copy(weights_.begin(), weights_.end(), pass_.answer_gradient());
    pass_.backward();
  }

  /// By central differences.
  double numerical(int parameter, std::size_t index) {
    constexpr float kStep = 5e-4f;
    float& value = net_.parameters()[parameter].values[index];
    const float before = value;
    value = before + kStep;
    const double above = loss();
    value = before - kStep;
    const double below = loss();
    value = before;
    return (above - below) / (2 * double{kStep});
  }

  const float* gradient(int parameter) const { return pass_.gradient(parameter); }

 private:
  Network& net_;
  TrainingKernels kernels_;
  ChunkPass pass_;
  std::vector<float> input_, weights_;
};

double norm(const std::vector<double>& values) {
  double sum = 0;
  for (const double value : values) sum += value * value;
  return std::sqrt(sum);
}

TEST(Network, GradientsAgreeWithDifferences) {
  for (const NetworkCase& one : kCases) {
    for (const KernelSet* kernels : kernel_sets()) {
      SCOPED_TRACE(std::string(one.name) + ", " + kernels->name());
      Network net = one.make();
      randomise(net, 3);
      Gradients gradients(one, net, *kernels, Number::kFloat);
      gradients.loss();
      gradients.backward();
      for (std::size_t p = 0; p < net.parameters().size(); ++p) {
        const Parameter& parameter = net.parameters()[p];
        if (!parameter.trained) continue;
        const int index = static_cast<int>(p);
        const std::vector<float> found(gradients.gradient(index),
                                       gradients.gradient(index) + parameter.values.size());
        std::vector<double> wanted, off;
        const std::size_t step = std::max<std::size_t>(1, found.size() / 9);
        for (std::size_t i = 0; i < found.size(); i += step) {
          wanted.push_back(gradients.numerical(index, i));
          off.push_back(wanted.back() - found[i]);
        }
        // ReLUs that switch within a difference cost a little.
        EXPECT_LT(norm(off), 0.03 * norm(wanted) + 0.02) << parameter.name;
      }
    }
  }
}

TEST(Network, Bfloat16GradientsPointTheSameWay) {
  for (const KernelSet* kernels : kernel_sets()) {
    if (kernels->fastest_number() != Number::kBfloat16) continue;
    for (const NetworkCase& one : kCases) {
      Network net = one.make();
      randomise(net, 3);
      Gradients exact(one, net, *kernels, Number::kFloat);
      Gradients rounded(one, net, *kernels, Number::kBfloat16);
      for (Gradients* gradients : {&exact, &rounded}) {
        gradients->loss();
        gradients->backward();
      }
      double dot = 0, squares = 0, others = 0;
      for (std::size_t p = 0; p < net.parameters().size(); ++p) {
        if (!net.parameters()[p].trained) continue;
        const float *a = exact.gradient(static_cast<int>(p)),
                    *b = rounded.gradient(static_cast<int>(p));
        for (std::size_t i = 0; i < net.parameters()[p].values.size(); ++i) {
          dot += double{a[i]} * b[i];
          squares += double{a[i]} * a[i];
          others += double{b[i]} * b[i];
        }
      }
      EXPECT_GT(dot / std::sqrt(squares * others), 0.98) << one.name;
    }
  }
}

/// What a network answers, computed place by place from its definition.
class Reference {
 public:
  Reference(const Network& net, const InputSize& size, const std::vector<float>& input)
      : net_(net), shapes_(shapes_of(net, size)) {
    results_.emplace_back(input.begin(), input.end());
    for (std::size_t i = 1; i < shapes_.size(); ++i) compute(static_cast<int>(i));
  }

  const std::vector<double>& answer() const { return results_.back(); }

 private:
  double at(Node node, int image, int y, int x, int channel) const {
    const TensorShape& s = shapes_[node];
    if (y < 0 || x < 0 || y >= s.height || x >= s.width) return 0;
    return results_[node]
                   [((std::size_t(image) * s.height + y) * s.width + x) * s.channels + channel];
  }

  void compute(int index) {
    const TensorShape& s = shapes_[index];
    results_.emplace_back(s.count());
    std::size_t out = 0;
    for (int image = 0; image < s.images; ++image) {
      for (int y = 0; y < s.height; ++y) {
        for (int x = 0; x < s.width; ++x) {
          for (int c = 0; c < s.channels; ++c)
            results_[index][out++] = value(index, image, y, x, c);
        }
      }
    }
  }

  double value(int index, int image, int y, int x, int c) const {
    const Layer& layer = net_.layers()[index];
    switch (layer.kind) {
      case LayerKind::kJoin: {
        const int fine = shapes_[layer.from].channels;
        return c < fine ? at(layer.from, image, y, x, c)
                        : at(layer.beside, image, y / 2, x / 2, c - fine);
      }
      case LayerKind::kMean: {
        const TensorShape& from = shapes_[layer.from];
        double sum = 0;
        for (int v = 0; v < from.height; ++v) {
          for (int u = 0; u < from.width; ++u) sum += at(layer.from, image, v, u, c);
        }
        return sum / (from.height * from.width);
      }
      default:
        return convolved(layer, image, y, x, c);
    }
  }

  double convolved(const Layer& layer, int image, int y, int x, int c) const {
    const auto& weights = net_.parameters()[layer.parameters.weight];
    const int in = weights.shape[1], k = layer.kernel;
    double sum = 0;
    for (int i = 0; i < in; ++i) {
      for (int v = 0; v < k; ++v) {
        for (int u = 0; u < k; ++u) {
          const int dy = layer.dilation * (v - k / 2), dx = layer.dilation * (u - k / 2);
          sum += double{weights.values[((std::size_t(c) * in + i) * k + v) * k + u]} *
                 at(layer.from, image, y * layer.stride + dy, x * layer.stride + dx, i);
        }
      }
    }
    const auto parameter = [&](int which) { return net_.parameters()[which].values[c]; };
    const LayerParameters& p = layer.parameters;
    if (layer.kind == LayerKind::kPointwise) return sum + parameter(p.bias);
    sum = (sum - parameter(p.mean)) / std::sqrt(parameter(p.variance) + kNormalisationEpsilon) *
              parameter(p.scale) +
          parameter(p.shift);
    if (layer.beside != kNone) sum += at(layer.beside, image, y, x, c);
    return layer.relu ? std::max(sum, 0.0) : sum;
  }

  const Network& net_;
  std::vector<TensorShape> shapes_;
  std::vector<std::vector<double>> results_;
};

TEST(Inference, AnswersAsTheNetworkIsDefined) {
  for (const KernelSet* kernels : kernel_sets()) {
    Network mixed = mixed_network();
    randomise(mixed, 4);
    const Inference inference(mixed, Number::kFloat, *kernels);
    const auto largest_error = [&](const InputSize& size) {
      const auto input = random_values(std::size_t(2) * size.images * size.height * size.width, 5);
      const Answer found = inference(input.data(), size);
      const Reference wanted(mixed, size, input);
      double error = found.values.size() == wanted.answer().size() ? 0 : 1e9;
      for (std::size_t i = 0; error < 1e9 && i < found.values.size(); ++i) {
        error = std::max(error, std::abs(found.values[i] - wanted.answer()[i]));
      }
      return error;
    };
    // More sizes than it keeps kernels for, and one of them again.
    for (int side = 1; side < 12; ++side) {
      EXPECT_LT(largest_error({1, side, 13 - side}), 1e-3) << kernels->name() << ", " << side;
    }
    double beside = 1;
    std::thread other([&] { beside = largest_error({1, 30, 17}); });
    EXPECT_LT(largest_error({2, 17, 30}), 1e-3) << kernels->name();
    // Many blocks of rows, with and without an odd rest.
    for (const InputSize& size : {InputSize{1, 130, 21}, InputSize{1, 96, 33}}) {
      EXPECT_LT(largest_error(size), 1e-3) << kernels->name() << ", " << size.height << " rows";
    }
    other.join();
    EXPECT_LT(beside, 1e-3) << kernels->name();
  }
}

TEST(Inference, EndsWithAMeanWhereThatIsAsked) {
  Network net = pooled_network();
  randomise(net, 6);
  const InputSize size{2, 5, 6};
  const auto input = random_values(60, 5);
  const Node mean = static_cast<Node>(net.layers().size()) - 2;
  const Answer found = Inference(net, Number::kFloat, default_kernels(), mean)(input.data(), size);
  const Reference wanted(net, size, input);
  const auto& head = net.parameter("head.weight").values;
  const auto& bias = net.parameter("head.bias").values;
  for (int image = 0; image < 2; ++image) {
    double logit = bias[1];
    for (int c = 0; c < 6; ++c) logit += double{head[6 + c]} * found.at(image, 0, 0)[c];
    EXPECT_NEAR(logit, wanted.answer()[image * 4 + 1], 1e-4);
  }
}

TEST(Weights, FillOnlyANetworkOfTheSameLayers) {
  Network source = pooled_network(), same = pooled_network(), other = mixed_network();
  randomise(source, 1);
  core::ByteWriter writer;
  write_weights(writer, source);
  core::ByteReader reader(writer.bytes());
  read_weights(reader, same);
  reader.finish("weights");
  for (const Parameter& parameter : source.parameters()) {
    EXPECT_EQ(parameter.values, same.parameter(parameter.name).values) << parameter.name;
  }
  core::ByteReader again(writer.bytes());
  EXPECT_THROW(read_weights(again, other), core::malformed_bytes);
}

TEST(Network, AdoptsWhatASmallerOneHasLearned) {
  const auto layers = [](int inputs, int answers) {
    Network net;
    net.pointwise("head", net.convolution("stem", net.input(inputs), 4), answers);
    return net;
  };
  Network old = layers(2, 2), grown = layers(3, 3);
  randomise(old, 1);
  core::Random random({9});
  grown.initialise(random);
  grown.adopt(old, "head", {2, 0});
  // The third input channel has weights of 0, so that its values change nothing.
  const auto narrow = random_values(2 * 20, 3);
  std::vector<float> wide;
  for (std::size_t i = 0; i < 20; ++i) {
    wide.insert(wide.end(), {narrow[2 * i], narrow[2 * i + 1], 5});
  }
  const Answer before = Inference(old, Number::kFloat)(narrow.data(), {1, 4, 5});
  const Answer after = Inference(grown, Number::kFloat)(wide.data(), {1, 4, 5});
  for (int i = 0; i < 20; ++i) {
    EXPECT_NEAR(before.values[2 * i], after.values[3 * i + 2], 1e-5);
    EXPECT_NEAR(before.values[2 * i + 1], after.values[3 * i], 1e-5);
  }
}

}  // namespace
}  // namespace telvar::nn

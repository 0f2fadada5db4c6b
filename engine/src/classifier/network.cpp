#include "classifier/network.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

#include "classifier/samples/augmentation.h"

namespace telvar::classifier {
namespace {

// The last block leaves about this many places a side for the mean.
constexpr double kFinalSide = 7;
// Channels of the stem, of the first residual block, and of the second one, whose means the last
// layer takes. They are those of version 1.0, whose artifacts fix them; no comparison with others
// is on record.
constexpr int kEarlyChannels = 16;
constexpr int kMiddleChannels = 32;
constexpr int kFeatures = 64;
constexpr int kBatch = 64;  // images that a network answers at once; bounds its memory

/// How often the sides are halved: at least by the two residual blocks.
int halvings(const Canvas& canvas) {
  const double longest = std::max(canvas.width, canvas.height);
  return std::max(2, static_cast<int>(std::lround(std::log2(longest / kFinalSide))));
}

/// The layer before the head.
nn::Node mean_of(const nn::Network& net) {
  return static_cast<nn::Node>(net.layers().size()) - 2;
}

}  // namespace

nn::Network network_layers(const Canvas& canvas, int categories) {
  nn::Network net;
  const int early = halvings(canvas) - 2;
  int number = 0;
  const auto name = [&] { return "body." + std::to_string(number++); };
  nn::ConvolutionOptions stem, halving;
  stem.kernel = early > 0 ? 5 : 3;
  stem.stride = early > 0 ? 2 : 1;
  halving.stride = 2;
  nn::Node out = net.convolution(name(), net.input(canvas.channels), kEarlyChannels, stem);
  for (int i = 1; i < early; ++i) out = net.convolution(name(), out, kEarlyChannels, halving);
  out = net.residual_block(name(), out, kMiddleChannels, 2);
  out = net.residual_block(name(), out, kFeatures, 2);
  net.pointwise("head", net.mean(out), categories);
  return net;
}

NetworkInference::NetworkInference(const nn::Network& net, const Canvas& canvas)
    : canvas_(canvas),
      head_weight_(net.parameter("head.weight").values),
      head_bias_(net.parameter("head.bias").values),
      features_(net, nn::Number::kFloat, nn::default_kernels(), mean_of(net)) {}

void NetworkInference::classify(const float* features, float* logits) const {
  const float* weight = head_weight_.data();
  for (std::size_t c = 0; c < head_bias_.size(); ++c, weight += kFeatures) {
    logits[c] = std::inner_product(weight, weight + kFeatures, features, head_bias_[c]);
  }
}

Matrix NetworkInference::logits(const std::vector<const Sample*>& samples,
                                core::WorkerPool& pool) const {
  Matrix logits(static_cast<int>(samples.size()), static_cast<int>(head_bias_.size()));
  const int count = logits.rows();
  // Whole batches and single images alone, so that kernels are made for two sizes.
  const int batches = count / kBatch, singles = count % kBatch;
  pool.run(batches + singles, [&](int task) {
    const int images = task < batches ? kBatch : 1;
    const int first = task < batches ? task * kBatch : batches * kBatch + task - batches;
    std::vector<float> input(canvas_.sample_size() * images);
    for (int i = 0; i < images; ++i) {
      normalise(*samples[first + i], canvas_, input.data() + canvas_.sample_size() * i);
    }
    const nn::Answer features = features_(input.data(), {images, canvas_.height, canvas_.width});
    for (int i = 0; i < images; ++i) classify(features.at(i, 0, 0), logits.row(first + i));
  });
  return logits;
}

}  // namespace telvar::classifier

#include "segmenter/network.h"

#include <array>
#include <string>

#include "core/weights.h"

namespace telvar::segmenter {
namespace {

/// Channels at each resolution, from full to a sixteenth. Thin structures need those at full
/// resolution: nets that begin at half of it, with twice the steps in the same time, missed more.
constexpr std::array<int, 5> kWidths{16, 32, 48, 64, 96};
constexpr std::size_t kLevels = kWidths.size() - 1;

/// Positive pixels are rare: start near probability 0.12 rather than 0.5.
constexpr double kInitialHeadBias = -2.0;

/// Pixels added to both sides of the Dice ratio, so that crops with next to nothing weigh little.
constexpr double kDiceSmoothing = 20.0;

torch::Tensor enlarged(const torch::Tensor& coarse, const torch::Tensor& like) {
  return torch::upsample_nearest2d(coarse, {like.size(2), like.size(3)});
}

}  // namespace

SegmentationNet::SegmentationNet(int planes, int categories)
    : planes_(planes), categories_(categories) {
  const auto block = [this](const std::string& name, int in, int out, int stride) {
    return register_module(name,
                           core::ConvolutionBlock(core::ConvolutionShape{in, out, 3, stride}));
  };
  stem_ = block("stem", planes, kWidths[0], 1);
  for (std::size_t i = 0; i < kLevels; ++i) {
    const std::string level = std::to_string(i);
    down_.push_back(block("down" + level, kWidths[i], kWidths[i + 1], 2));
    refine_.push_back(block("refine" + level, kWidths[i + 1], kWidths[i + 1], 1));
    merge_.push_back(block("merge" + level, kWidths[i] + kWidths[i + 1], kWidths[i], 1));
  }
  head_ = register_module("head", torch::nn::Conv2d(core::pointwise(kWidths[0], categories)));
}

torch::Tensor SegmentationNet::forward(const torch::Tensor& input) {
  std::vector<torch::Tensor> seen{stem_(input)};
  for (std::size_t i = 0; i < kLevels; ++i) {
    seen.push_back(refine_[i](down_[i](seen.back())));
  }
  torch::Tensor merged = seen.back();
  for (std::size_t i = kLevels; i-- > 0;) {
    merged = merge_[i](torch::cat({seen[i], enlarged(merged, seen[i])}, 1));
    seen.pop_back();
  }
  return head_(merged);
}

std::shared_ptr<SegmentationNet> make_initial_net(int planes, int categories, std::uint64_t seed) {
  const torch::NoGradGuard no_grad;
  auto net = std::make_shared<SegmentationNet>(planes, categories);
  core::Random random({seed});
  core::initialise(*net, random);
  net->named_parameters()["head.bias"].fill_(kInitialHeadBias);
  net->eval();
  return net;
}

std::shared_ptr<SegmentationNet> grow_net(const SegmentationNet& old, int planes, int categories,
                                          const std::vector<int>& places, std::uint64_t seed) {
  const torch::NoGradGuard no_grad;
  auto net = make_initial_net(planes, categories, seed);
  auto state = core::state_of(*net);
  for (const auto& [name, tensor] : core::state_of(old)) {
    torch::Tensor& target = state.at(name);
    if (name == "stem.convolution.weight") {
      target.zero_();
      target.narrow(1, 0, tensor.size(1)).copy_(tensor);
    } else if (name.rfind("head.", 0) == 0) {
      for (std::size_t i = 0; i < places.size(); ++i) {
        target[places[i]].copy_(tensor[static_cast<std::int64_t>(i)]);
      }
    } else {
      target.copy_(tensor);
    }
  }
  return net;
}

torch::Tensor segmentation_loss(const torch::Tensor& logits, const torch::Tensor& targets,
                                const torch::Tensor& known) {
  const torch::Tensor weight = known.unsqueeze(2).unsqueeze(3).expand_as(logits);
  const torch::Tensor known_pixels = weight.sum({0, 2, 3});
  const torch::Tensor entropy =
      torch::binary_cross_entropy_with_logits(logits, targets, weight, {}, at::Reduction::Sum) /
      known_pixels.sum().clamp_min(1.0);
  const torch::Tensor probability = torch::sigmoid(logits) * weight;
  const torch::Tensor shared = (probability * targets).sum({0, 2, 3});
  const torch::Tensor total = probability.sum({0, 2, 3}) + (targets * weight).sum({0, 2, 3});
  const torch::Tensor dice = 1.0 - (2.0 * shared + kDiceSmoothing) / (total + kDiceSmoothing);
  // Where a category does not occur, Dice would only press its probability down, much harder than
  // entropy does, until faint marks are lost elsewhere.
  const torch::Tensor present = ((targets * weight).sum({0, 2, 3}) > 0).to(torch::kFloat);
  return entropy + (dice * present).sum() / present.sum().clamp_min(1.0);
}

}  // namespace telvar::segmenter

#include "segmenter/network.h"

#include "core/weights.h"

namespace telvar::segmenter {
namespace {

// Channels at 1/2, 1/4, 1/8 and 1/16 of the resolution. Half as many at 1/2 cost little accuracy
// and save a third of the time; full-resolution convolutions cost twice the time for none.
constexpr int kAtHalf = 16, kAtQuarter = 32, kAtEighth = 48, kAtSixteenth = 64;

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
  using core::ConvolutionBlock;
  using core::ConvolutionShape;
  using core::ResidualBlock;
  stem_ = register_module("stem", ConvolutionBlock(ConvolutionShape{planes, kAtHalf, 5, 2}));
  refine2_ = register_module("refine2", ConvolutionBlock(ConvolutionShape{kAtHalf, kAtHalf}));
  down4_ = register_module("down4", ResidualBlock(kAtHalf, kAtQuarter, 2));
  refine4_ = register_module("refine4", ResidualBlock(kAtQuarter, kAtQuarter));
  down8_ = register_module("down8", ResidualBlock(kAtQuarter, kAtEighth, 2));
  refine8_ = register_module("refine8", ResidualBlock(kAtEighth, kAtEighth, 1, 2));
  down16_ = register_module("down16", ResidualBlock(kAtEighth, kAtSixteenth, 2));
  refine16_ = register_module("refine16", ResidualBlock(kAtSixteenth, kAtSixteenth, 1, 2));
  const auto narrow = [](int in, int out) {
    return ConvolutionBlock(ConvolutionShape{in, out, 1});
  };
  const auto merge = [](int width) { return ConvolutionBlock(ConvolutionShape{width, width}); };
  narrow8_ = register_module("narrow8", narrow(kAtSixteenth, kAtEighth));
  merge8_ = register_module("merge8", merge(kAtEighth));
  narrow4_ = register_module("narrow4", narrow(kAtEighth, kAtQuarter));
  merge4_ = register_module("merge4", merge(kAtQuarter));
  narrow2_ = register_module("narrow2", narrow(kAtQuarter, kAtHalf));
  merge2_ = register_module("merge2", merge(kAtHalf));
  head_ = register_module("head",
                          torch::nn::Conv2d(torch::nn::Conv2dOptions(kAtHalf, 4 * categories, 1)));
}

torch::Tensor SegmentationNet::forward(const torch::Tensor& input) {
  const torch::Tensor at2 = refine2_(stem_(input));
  const torch::Tensor at4 = refine4_(down4_(at2));
  const torch::Tensor at8 = refine8_(down8_(at4));
  const torch::Tensor at16 = refine16_(down16_(at8));
  const torch::Tensor up8 = merge8_(at8 + enlarged(narrow8_(at16), at8));
  const torch::Tensor up4 = merge4_(at4 + enlarged(narrow4_(up8), at4));
  const torch::Tensor up2 = merge2_(at2 + enlarged(narrow2_(up4), at2));
  return torch::pixel_shuffle(head_(up2), 2);
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
        target.narrow(0, 4 * places[i], 4).copy_(tensor.narrow(0, 4 * std::int64_t(i), 4));
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
  const torch::Tensor present = (known_pixels > 0).to(torch::kFloat);
  return entropy + (dice * present).sum() / present.sum().clamp_min(1.0);
}

}  // namespace telvar::segmenter

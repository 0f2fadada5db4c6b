#include "ocr/reader_net.h"

#include <vector>

#include "core/weights.h"

namespace telvar::ocr {
namespace {

constexpr int kFineChannels = 32;
constexpr int kChannels = 64;
constexpr int kDilations[] = {1, 2, 1, 1, 2};
constexpr float kRareCharacter = -2.5f;  // logit of about one cell in thirteen
constexpr float kHeadDeviation = 0.01f;

torch::Tensor residual(core::ConvolutionBlockImpl& block, const torch::Tensor& input) {
  return block.forward(input).add_(input).relu_();
}

}  // namespace

ReaderNetImpl::ReaderNetImpl(int categories)
    : categories_(categories),
      stem_(register_module(
          "stem", core::ConvolutionBlock(core::ConvolutionShape{1, kFineChannels, 5, 2, 1, true}))),
      fine_(register_module("fine", core::ConvolutionBlock(core::ConvolutionShape{
                                        kFineChannels, kFineChannels, 3, 1, 1, false}))),
      down_(register_module("down", core::ConvolutionBlock(core::ConvolutionShape{
                                        kFineChannels, kChannels, 3, 2, 1, true}))),
      body_(register_module("body", torch::nn::ModuleList())),
      head_(
          register_module("head", torch::nn::Conv2d(core::pointwise(kChannels, 3 + categories)))) {
  for (const int dilation : kDilations) {
    body_->push_back(core::ConvolutionBlock(
        core::ConvolutionShape{kChannels, kChannels, 3, 1, dilation, false}));
  }
}

torch::Tensor ReaderNetImpl::forward(const torch::Tensor& input) {
  torch::Tensor out = down_(residual(*fine_, stem_(input)));
  for (const auto& part : *body_) {
    out = residual(*part->as<core::ConvolutionBlock>(), out);
  }
  return head_(out);
}

std::vector<core::FusedLayer> ReaderNetImpl::fused() const {
  std::vector<core::FusedLayer> layers{stem_->fused(), fine_->fused(true), down_->fused()};
  for (const auto& part : *body_) {
    layers.push_back(part->as<core::ConvolutionBlock>()->fused(true));
  }
  layers.push_back({head_->weight, head_->bias, 1, 1, false, false});
  return layers;
}

void ReaderNetImpl::initialise_head(core::Random& random) {
  const torch::NoGradGuard no_grad;
  float* weights = head_->weight.data_ptr<float>();
  for (std::int64_t i = 0; i < head_->weight.numel(); ++i) {
    weights[i] = kHeadDeviation * random.normal();
  }
  head_->bias.zero_();
  head_->bias.data_ptr<float>()[0] = kRareCharacter;
}

ReaderNet make_reader_net(int categories, core::Random& random) {
  ReaderNet net(categories);
  core::initialise(*net, random);
  net->initialise_head(random);
  return net;
}

ReaderNet widened(ReaderNetImpl& net, int categories, const std::vector<int>& position,
                  core::Random& random) {
  constexpr std::int64_t kFixed = 3;
  const torch::NoGradGuard no_grad;
  ReaderNet wide = make_reader_net(categories, random);
  auto from = core::state_of(net);
  for (auto& [name, to] : core::state_of(*wide)) {
    const torch::Tensor& source = from.at(name);
    torch::Tensor target = to;
    if (source.sizes() == target.sizes() && name.rfind("head.", 0) != 0) {
      target.copy_(source);
      continue;
    }
    target.slice(0, 0, kFixed).copy_(source.slice(0, 0, kFixed));
    for (std::size_t old = 0; old < position.size(); ++old) {
      target[kFixed + position[old]].copy_(source[kFixed + static_cast<std::int64_t>(old)]);
    }
  }
  return wide;
}

}  // namespace telvar::ocr

#pragma once

// The segmenter's network: strided convolutions down to a sixteenth of the resolution and back up,
// joined with what was seen on the way down (U-Net, Ronneberger et al. 2015); one logit per pixel
// and category.

#include <torch/torch.h>

#include <memory>
#include <vector>

#include "core/net.h"

namespace telvar::segmenter {

/// Sides of the network's input are multiples of this.
constexpr int kSideMultiple = 16;

class SegmentationNet : public torch::nn::Module {
 public:
  SegmentationNet(int planes, int categories);

  /// N x planes x H x W to logits N x categories x H x W; H and W multiples of kSideMultiple.
  torch::Tensor forward(const torch::Tensor& input);

  int planes() const { return planes_; }
  int categories() const { return categories_; }
  /// What inputs must be: single precision, or bfloat16 after a conversion.
  torch::ScalarType number_type() const { return head_->weight.scalar_type(); }

 private:
  int planes_, categories_;
  core::ConvolutionBlock stem_{nullptr};
  std::vector<core::ConvolutionBlock> down_, refine_, merge_;  // from fine to coarse
  torch::nn::Conv2d head_{nullptr};
};

/// A network with initial weights that depend on `seed` alone.
std::shared_ptr<SegmentationNet> make_initial_net(int planes, int categories, std::uint64_t seed);

/// A network that does what `old` does, with more input planes (whose weights start at 0) and more
/// categories: `places[i]` is where old category i stands now; the others start afresh from `seed`.
std::shared_ptr<SegmentationNet> grow_net(const SegmentationNet& old, int planes, int categories,
                                          const std::vector<int>& places, std::uint64_t seed);

/// Mean binary cross-entropy over known labels, plus soft Dice loss (Milletari et al. 2016) over
/// the categories that occur. Logits and targets N x K x H x W, known N x K, 0 or 1.
torch::Tensor segmentation_loss(const torch::Tensor& logits, const torch::Tensor& targets,
                                const torch::Tensor& known);

}  // namespace telvar::segmenter

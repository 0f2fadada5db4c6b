#pragma once

// The network of the reader.

#include <torch/torch.h>

#include <vector>

#include "core/net.h"

namespace telvar::ocr {

/// How far, in reading pixels, a cell's answer depends on what is around it: 6 up to the first
/// cells (2 of the stem, 2 of the fine layer, 2 of the step down) and 4 for each of the 7 dilations
/// after it, in whole cells.
constexpr int kReaderReach = 36;

/// Fully convolutional: N x 1 x H x W contrast-normalised gray at reading scale, H and W multiples
/// of kCellStride, to N x (3 + categories) x H / 4 x W / 4: the logit that a character is here, the
/// offset from the cell's centre to its centre (x, y, in characters), and a logit per category.
class ReaderNetImpl : public torch::nn::Module {
 public:
  explicit ReaderNetImpl(int categories);
  torch::Tensor forward(const torch::Tensor& input);

  /// Starts the answer at "rarely a character", so that background does not drown the first steps.
  void initialise_head(core::Random& random);

  /// What forward computes of an evaluated network, for inference.
  std::vector<core::FusedLayer> fused() const;

  int categories() const { return categories_; }

 private:
  int categories_;
  core::ConvolutionBlock stem_{nullptr}, fine_{nullptr}, down_{nullptr};
  torch::nn::ModuleList body_{nullptr};
  torch::nn::Conv2d head_{nullptr};
};
TORCH_MODULE(ReaderNet);

/// A network that has learned nothing yet; its weights depend on `random` alone.
ReaderNet make_reader_net(int categories, core::Random& random);

/// A network for more categories that answers the same for the old ones. `position` gives the new
/// index of every old category; the weights of new ones start small, from `random`.
ReaderNet widened(ReaderNetImpl& net, int categories, const std::vector<int>& position,
                  core::Random& random);

}  // namespace telvar::ocr

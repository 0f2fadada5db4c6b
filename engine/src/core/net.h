#pragma once

// The building blocks that the tools' networks share. Build a network, `initialise` it, train it
// (core/training.h), and for inference `fold_batch_norms` a copy of it. Write dense layers as
// `pointwise` convolutions: matrix products go to whatever BLAS is installed, with its threads and
// settings.

#include <torch/torch.h>

#include "core/fused_convolutions.h"
#include "core/random.h"
#include "core/raster.h"

namespace telvar::core {

struct ConvolutionShape {
  int in = 1;
  int out = 1;
  int kernel = 3;
  int stride = 1;
  int dilation = 1;
  bool relu = true;
};

/// Convolution ("same" padding with zeros), batch normalisation, and ReLU where asked.
/// Input N x in x H x W; output N x out x ceil(H / stride) x ceil(W / stride).
class ConvolutionBlockImpl : public torch::nn::Module {
 public:
  explicit ConvolutionBlockImpl(const ConvolutionShape& shape);
  torch::Tensor forward(const torch::Tensor& input);
  /// Moves the normalisation into the convolution, for inference only. Not undone.
  void fold();
  /// What inference computes, for a chain of such; `residual` where its input is to be added.
  FusedLayer fused(bool residual = false) const;

 private:
  ConvolutionShape shape_;
  bool folded_ = false;
  torch::nn::Conv2d convolution_{nullptr};
  torch::nn::BatchNorm2d norm_{nullptr};
};
TORCH_MODULE(ConvolutionBlock);

/// Options of a 1 x 1 convolution with bias. Small batches of plain ones go to the installed BLAS;
/// a dilation, which changes nothing about a single point, keeps them in oneDNN.
torch::nn::Conv2dOptions pointwise(int in, int out);

/// Two 3 x 3 convolution blocks beside a shortcut (a 1 x 1 one when the shape changes), summed,
/// then ReLU.
class ResidualBlockImpl : public torch::nn::Module {
 public:
  ResidualBlockImpl(int in, int out, int stride = 1, int dilation = 1);
  torch::Tensor forward(const torch::Tensor& input);

 private:
  ConvolutionBlock first_{nullptr}, second_{nullptr}, shortcut_{nullptr};
};
TORCH_MODULE(ResidualBlock);

/// The same values in oneDNN's own layout. Convolution blocks, sums and ReLU that get it pass it
/// on, so that none of them copies its planes in and out: a network of long chains trains in three
/// quarters of the time; many short ones gain nothing. `plain` leads out of it. Where the tensor
/// library was built without oneDNN, both change nothing.
torch::Tensor blocked(const torch::Tensor& input);
torch::Tensor plain(const torch::Tensor& input);

/// Weights of convolutions and linear layers normal with variance 2 / fan-in (He et al., 2015),
/// biases 0, normalisation scale 1 and shift 0. Depends on `random` alone.
void initialise(torch::nn::Module& module, Random& random);

/// Folds every ConvolutionBlock within `module`.
void fold_batch_norms(torch::nn::Module& module);

/// A 1 x channels x height x width tensor with its own memory.
torch::Tensor to_tensor(const Raster& raster);

}  // namespace telvar::core

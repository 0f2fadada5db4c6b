#include "core/net.h"

#include <cmath>
#include <cstring>

namespace telvar::core {
namespace {

torch::nn::Conv2dOptions convolution_options(const ConvolutionShape& shape) {
  return torch::nn::Conv2dOptions(shape.in, shape.out, shape.kernel)
      .stride(shape.stride)
      .padding(shape.dilation * (shape.kernel - 1) / 2)
      .dilation(shape.dilation)
      .bias(false);
}

void fill_normal(torch::Tensor tensor, float deviation, Random& random) {
  float* values = tensor.data_ptr<float>();
  for (std::int64_t i = 0; i < tensor.numel(); ++i) values[i] = deviation * random.normal();
}

bool is_normalisation(torch::nn::Module& module) {
  return module.as<torch::nn::BatchNorm2d>() != nullptr;
}

}  // namespace

torch::nn::Conv2dOptions pointwise(int in, int out) {
  return torch::nn::Conv2dOptions(in, out, 1).dilation(2);
}

torch::Tensor blocked(const torch::Tensor& input) {
  return at::hasMKLDNN() ? input.to_mkldnn() : input;
}

torch::Tensor plain(const torch::Tensor& input) {
  return input.is_mkldnn() ? input.to_dense() : input;
}

ConvolutionBlockImpl::ConvolutionBlockImpl(const ConvolutionShape& shape)
    : shape_(shape),
      convolution_(register_module("convolution", torch::nn::Conv2d(convolution_options(shape)))),
      norm_(register_module("norm", torch::nn::BatchNorm2d(shape.out))) {}

torch::Tensor ConvolutionBlockImpl::forward(const torch::Tensor& input) {
  torch::Tensor out = convolution_(input);
  if (!folded_) out = norm_(out);
  return shape_.relu ? out.relu_() : out;
}

void ConvolutionBlockImpl::fold() {
  if (folded_) return;
  const torch::NoGradGuard no_grad;
  const FusedLayer folded = fused();
  convolution_ =
      replace_module("convolution", torch::nn::Conv2d(convolution_options(shape_).bias(true)));
  convolution_->weight.copy_(folded.weight);
  convolution_->bias.copy_(folded.bias);
  folded_ = true;
}

FusedLayer ConvolutionBlockImpl::fused(bool residual) const {
  FusedLayer layer{convolution_->weight, convolution_->bias, shape_.stride,
                   shape_.dilation,      residual,           shape_.relu || residual};
  if (folded_) return layer;
  const torch::NoGradGuard no_grad;
  const torch::Tensor scale = norm_->weight / (norm_->running_var + norm_->options.eps()).sqrt();
  layer.weight = convolution_->weight * scale.reshape({-1, 1, 1, 1});
  layer.bias = norm_->bias - norm_->running_mean * scale;
  return layer;
}

ResidualBlockImpl::ResidualBlockImpl(int in, int out, int stride, int dilation)
    : first_(register_module("first",
                             ConvolutionBlock(ConvolutionShape{in, out, 3, stride, dilation}))),
      second_(register_module(
          "second", ConvolutionBlock(ConvolutionShape{out, out, 3, 1, dilation, false}))) {
  if (in != out || stride != 1) {
    shortcut_ = register_module("shortcut",
                                ConvolutionBlock(ConvolutionShape{in, out, 1, stride, 1, false}));
  }
}

torch::Tensor ResidualBlockImpl::forward(const torch::Tensor& input) {
  const torch::Tensor beside = shortcut_.is_empty() ? input : shortcut_(input);
  return (second_(first_(input)) + beside).relu_();
}

void initialise(torch::nn::Module& module, Random& random) {
  const torch::NoGradGuard no_grad;
  for (const auto& part : module.modules()) {
    for (auto& item : part->named_parameters(false)) {
      torch::Tensor& tensor = item.value();
      if (tensor.dim() < 2) {
        tensor.fill_(is_normalisation(*part) && item.key() == "weight" ? 1 : 0);
      } else {
        const auto fan_in = static_cast<float>(tensor.numel() / tensor.size(0));
        fill_normal(tensor, std::sqrt(2.0f / fan_in), random);
      }
    }
  }
}

void fold_batch_norms(torch::nn::Module& module) {
  for (const auto& part : module.modules()) {
    if (auto* block = part->as<ConvolutionBlock>()) block->fold();
  }
}

torch::Tensor to_tensor(const Raster& raster) {
  torch::Tensor tensor = torch::empty({1, raster.channels, raster.height, raster.width});
  std::memcpy(tensor.data_ptr<float>(), raster.values.data(), raster.values.size() * sizeof(float));
  return tensor;
}

}  // namespace telvar::core

#pragma once

// The seam for the heavy kernels: convolution and its two gradients.
//
// Two sets stand behind it: one on oneDNN, where the platform has it, and a portable one. They
// differ in speed and rounding only. Everything else of training and inference is written once,
// on top of this header.
//
// Activations are N x H x W x C, channels innermost, without padding. Weights that are trained are
// out x in x k x k floats; a kernel packs them into whatever order it reads fastest.

#include <cstddef>
#include <memory>

#include "nn/number.h"

namespace telvar::nn {

/// A convolution over an input of known size. It pads with zeros such that every side of the output
/// is ceil(side / stride): dilation * (kernel - 1) / 2 before the input, and what is needed after.
/// Inputs that are rows cut out of larger ones bring the rows above and below that the kernel
/// reaches with them; only their columns are padded, and there are no gradients.
struct ConvolutionGeometry {
  int images = 1;
  int height = 1;  // of the input
  int width = 1;
  int in = 1;  // channels
  int out = 1;
  int kernel = 3;  // odd
  int stride = 1;
  int dilation = 1;
  bool pad_rows = true;

  /// From the first input row or column that an output reads to the last.
  int reach() const { return dilation * (kernel - 1); }
  int out_height() const { return (height - (pad_rows ? 0 : reach()) - 1) / stride + 1; }
  int out_width() const { return (width - 1) / stride + 1; }
  int pad_above() const { return pad_rows ? pad_before() : 0; }
  int pad_before() const { return reach() / 2; }
  std::size_t input_size() const { return static_cast<std::size_t>(images) * height * width * in; }
  std::size_t output_size() const {
    return static_cast<std::size_t>(images) * out_height() * out_width() * out;
  }
  std::size_t weight_count() const { return static_cast<std::size_t>(out) * in * kernel * kernel; }
};

/// What the forward kernel does to a sum before it stores it, in this order.
struct Epilogue {
  bool bias = false;      // adds a value for each output channel
  bool residual = false;  // adds a tensor of the output's shape
  bool relu = false;
  Number output = Number::kFloat;  // what it stores; either, whatever the input is
};

/// Which of the kernels will be called; the others need not be prepared.
enum class KernelUse { kInference, kTraining };

/// One convolution, ready to run. Immutable: any number of threads may call it at once, each with
/// scratch memory of its own.
///
/// Packed weights and scratch memory are aligned to 64 bytes, tensors and weights as their numbers
/// are. `scratch` has at least scratch_bytes(). Inputs, residuals and gradients are of the number
/// that the convolution was made for; outputs as its epilogue says.
class Convolution {
 public:
  virtual ~Convolution() = default;

  virtual std::size_t scratch_bytes() const = 0;

  /// Sizes of the packed weights in bytes, for the output and for the gradient of the input.
  virtual std::size_t packed_bytes() const = 0;
  virtual std::size_t packed_gradient_bytes() const = 0;

  /// Packs out x in x k x k floats for `forward`, and for `input_gradient`.
  virtual void pack(const float* weights, void* packed, void* scratch) const = 0;
  virtual void pack_for_gradient(const float* weights, void* packed, void* scratch) const = 0;

  /// `bias` and `residual` are read only if the epilogue has them. `output` may be `residual`.
  virtual void forward(const void* input, const void* packed, const float* bias,
                       const void* residual, void* output, void* scratch) const = 0;

  /// Overwrites the gradient of the input with that of `output_gradient`.
  virtual void input_gradient(const void* output_gradient, const void* packed_for_gradient,
                              void* gradient, void* scratch) const = 0;

  /// Overwrites out x in x k x k floats.
  virtual void weight_gradient(const void* input, const void* output_gradient, float* gradient,
                               void* scratch) const = 0;
};

/// One way to compute convolutions.
class KernelSet {
 public:
  virtual ~KernelSet() = default;

  /// "onednn" or "portable".
  virtual const char* name() const = 0;

  /// The fastest number that this processor computes with. bfloat16 only where it has
  /// instructions for it.
  virtual Number fastest_number() const = 0;

  /// Throws std::bad_alloc, or types::exception when the library cannot make the kernel.
  virtual std::unique_ptr<const Convolution> make_convolution(const ConvolutionGeometry& geometry,
                                                              Number number,
                                                              const Epilogue& epilogue,
                                                              KernelUse use) const = 0;
};

/// Kernels on oneDNN; null where the build has none.
const KernelSet* onednn_kernels();

/// Kernels of our own, for every processor.
const KernelSet& portable_kernels();

/// What the engine uses: oneDNN's where there are any.
const KernelSet& default_kernels();

}  // namespace telvar::nn

// The portable set: convolutions as products of gathered matrices; see gather_product.h.

#include <algorithm>

#include "nn/buffer.h"
#include "nn/kernels.h"
#include "nn/portable/bands.h"
#include "nn/portable/gather_product.h"
#include "nn/portable/gradient_phases.h"
#include "nn/portable/numbers.h"

namespace telvar::nn {

namespace portable {
namespace {

std::size_t aligned_floats(std::size_t floats) {
  return aligned(floats * sizeof(float)) / sizeof(float);
}

Reading input_reading(const ConvolutionGeometry& geometry) {
  Reading reading;
  reading.images = geometry.images;
  reading.height = geometry.height;
  reading.width = geometry.width;
  reading.channels = geometry.in;
  reading.grid_height = geometry.out_height();
  reading.grid_width = geometry.out_width();
  reading.step = geometry.stride;
  reading.low = -geometry.pad_before();
  reading.high = geometry.reach() - geometry.pad_before();
  reading.first_row = geometry.pad_before() - geometry.pad_above();
  return reading;
}

/// Writes a matrix in blocks of columns, padded with zeros. `value(row, column)` yields it.
template <class Value>
void pack_blocks(const ProductKernel& kernel, std::size_t depth, std::size_t columns, Value value,
                 float* packed) {
  for (std::size_t block = 0; block < kernel.blocks(columns); ++block) {
    const std::size_t begin = kernel.block_begin(columns, block);
    const std::size_t end = kernel.block_begin(columns, block + 1);
    for (std::size_t row = 0; row < depth; ++row) {
      for (std::size_t column = begin; column < end; ++column) {
        *packed++ = column < columns ? value(row, column) : 0.0f;
      }
    }
  }
}

class PortableConvolution : public Convolution {
 public:
  PortableConvolution(const ConvolutionGeometry& geometry, Number number, const Epilogue& epilogue,
                      KernelUse use)
      : geometry_(geometry),
        number_(number),
        epilogue_(epilogue),
        kernel_(product_kernel()),
        input_bands_(input_reading(geometry), number),
        gradient_bands_(gradient_reading(geometry), number) {
    add_taps();
    add_positions();
    if (use == KernelUse::kTraining) phases_ = gradient_phases(geometry, gradient_bands_);
  }

  std::size_t scratch_bytes() const override {
    std::size_t floats = output_floats() + aligned_floats(input_bands_.floats());
    if (!phases_.empty()) {
      floats = std::max(floats, gradient_bands_.floats());
      floats = std::max(floats, aligned_floats(input_bands_.floats()) +
                                    aligned_floats(output_band_floats()) + gradient_floats());
    }
    return std::max<std::size_t>(floats, 1) * sizeof(float);
  }

  std::size_t packed_bytes() const override {
    return taps_.size() * kernel_.padded(geometry_.out) * sizeof(float);
  }

  std::size_t packed_gradient_bytes() const override {
    const std::size_t taps = static_cast<std::size_t>(geometry_.kernel) * geometry_.kernel;
    return taps * geometry_.out * kernel_.padded(geometry_.in) * sizeof(float);
  }

  void pack(const float* weights, void* packed, void* scratch) const override;
  void pack_for_gradient(const float* weights, void* packed, void* scratch) const override;
  void forward(const void* input, const void* packed, const float* bias, const void* residual,
               void* output, void* scratch) const override;
  void input_gradient(const void* output_gradient, const void* packed, void* gradient,
                      void* scratch) const override;
  void weight_gradient(const void* input, const void* output_gradient, float* gradient,
                       void* scratch) const override;

 private:
  void add_taps();
  void add_positions();

  std::size_t positions(const Band& band) const {
    return static_cast<std::size_t>(band.images) * band.rows * geometry_.out_width();
  }
  /// Index of a band's first element in the output.
  std::size_t output_index(const Band& band) const {
    return (static_cast<std::size_t>(band.first_image) * geometry_.out_height() + band.first_row) *
           geometry_.out_width() * geometry_.out;
  }
  std::size_t output_floats() const { return aligned_floats(kernel_.padded(geometry_.out)); }
  std::size_t gradient_floats() const { return taps_.size() * kernel_.padded(geometry_.out); }
  /// Whether rows of the output can be read as they are, as the second factor of a product.
  bool output_is_padded() const {
    return number_ == Number::kFloat && geometry_.out % kernel_.lanes == 0;
  }
  std::size_t output_band_floats() const {
    return output_is_padded() ? 0 : positions_.size() * output_floats();
  }
  const float* read_output_band(const Band& band, const void* output, float* scratch) const;
  void store_gradient(const float* sums, float* gradient) const;

  ConvolutionGeometry geometry_;
  Number number_;
  Epilogue epilogue_;
  const ProductKernel& kernel_;
  Bands input_bands_;
  Bands gradient_bands_;
  std::vector<std::int32_t> taps_;       // offsets of row, column and channel of the kernel
  std::vector<std::int32_t> positions_;  // offsets of the positions of a band
  std::vector<std::int32_t> outputs_;    // where they begin in the band's output
  std::vector<std::int32_t> sums_;       // where a tap's gradients begin in the scratch
  std::vector<Phase> phases_;
};

void PortableConvolution::add_taps() {
  for (int row = 0; row < geometry_.kernel; ++row) {
    for (int column = 0; column < geometry_.kernel; ++column) {
      for (int channel = 0; channel < geometry_.in; ++channel) {
        const int pad = geometry_.pad_before();
        sums_.push_back(static_cast<std::int32_t>(taps_.size()) * kernel_.padded(geometry_.out));
        taps_.push_back(input_bands_.tap(row * geometry_.dilation - pad,
                                         column * geometry_.dilation - pad, channel));
      }
    }
  }
}

void PortableConvolution::add_positions() {
  for (int image = 0; image < input_bands_.max_images(); ++image) {
    for (int row = 0; row < input_bands_.max_rows(); ++row) {
      for (int column = 0; column < geometry_.out_width(); ++column) {
        outputs_.push_back(static_cast<std::int32_t>(positions_.size()) * geometry_.out);
        positions_.push_back(input_bands_.position(image, row, column));
      }
    }
  }
}

void PortableConvolution::pack(const float* weights, void* packed, void* /*scratch*/) const {
  const std::size_t in = geometry_.in;
  const std::size_t taps = taps_.size() / in;
  const auto value = [&](std::size_t row, std::size_t out) {
    return weights[(out * in + row % in) * taps + row / in];
  };
  pack_blocks(kernel_, taps_.size(), geometry_.out, value, static_cast<float*>(packed));
}

void PortableConvolution::pack_for_gradient(const float* weights, void* packed,
                                            void* /*scratch*/) const {
  auto* to = static_cast<float*>(packed);
  const std::size_t out = geometry_.out;
  const std::size_t taps = taps_.size() / geometry_.in;
  for (const Phase& phase : phases_) {
    const auto value = [&](std::size_t row, std::size_t in) {
      return weights[(row % out * geometry_.in + in) * taps + phase.taps[row / out]];
    };
    pack_blocks(kernel_, phase.depth_offsets.size(), geometry_.in, value, to);
    to += phase.depth_offsets.size() * kernel_.padded(geometry_.in);
  }
}

void PortableConvolution::forward(const void* input, const void* packed, const float* bias,
                                  const void* residual, void* output, void* scratch) const {
  auto* initial = static_cast<float*>(scratch);
  std::fill_n(initial, output_floats(), 0.0f);
  if (epilogue_.bias) std::copy_n(bias, geometry_.out, initial);

  GatherProduct product;
  product.row_offsets = positions_.data();
  product.depth_offsets = taps_.data();
  product.depth = taps_.size();
  product.matrix = static_cast<const float*>(packed);
  product.order = MatrixOrder::kBlocks;
  product.columns = geometry_.out;
  product.initial = initial;
  product.addend_number = number_;
  product.relu = epilogue_.relu;
  product.result_number = epilogue_.output;
  product.result_offsets = outputs_.data();
  for (int i = 0; i < input_bands_.count(); ++i) {
    const Band band = input_bands_.band(i);
    product.values = input_bands_.read(band, input, initial + output_floats());
    product.rows = positions(band);
    product.result = element(output, epilogue_.output, output_index(band));
    if (epilogue_.residual) product.addend = element(residual, number_, output_index(band));
    kernel_.run(product);
  }
}

void PortableConvolution::input_gradient(const void* output_gradient, const void* packed,
                                         void* gradient, void* scratch) const {
  GatherProduct product;
  product.order = MatrixOrder::kBlocks;
  product.columns = geometry_.in;
  product.result_number = number_;
  for (int i = 0; i < gradient_bands_.count(); ++i) {
    const Band band = gradient_bands_.band(i);
    product.values = gradient_bands_.read(band, output_gradient, static_cast<float*>(scratch));
    const std::size_t first_row = static_cast<std::size_t>(band.first_image) * geometry_.height +
                                  static_cast<std::size_t>(band.first_row) * geometry_.stride;
    product.result = element(gradient, number_, first_row * geometry_.width * geometry_.in);
    product.matrix = static_cast<const float*>(packed);
    for (const Phase& phase : phases_) {
      const std::size_t rows = std::clamp(phase.height - band.first_row, 0, band.rows);
      product.rows = rows * band.images * phase.width;
      product.row_offsets = phase.row_offsets.data();
      product.result_offsets = phase.result_offsets.data();
      product.depth_offsets = phase.depth_offsets.data();
      product.depth = phase.depth_offsets.size();
      kernel_.run(product);
      product.matrix += product.depth * kernel_.padded(geometry_.in);
    }
  }
}

void PortableConvolution::weight_gradient(const void* input, const void* output_gradient,
                                          float* gradient, void* scratch) const {
  auto* input_scratch = static_cast<float*>(scratch);
  float* output_scratch = input_scratch + aligned_floats(input_bands_.floats());
  float* sums = output_scratch + aligned_floats(output_band_floats());

  // The roles change: taps are the rows, and the sum goes over the positions.
  GatherProduct product;
  product.row_offsets = taps_.data();
  product.rows = taps_.size();
  product.depth_offsets = positions_.data();
  product.columns = geometry_.out;
  product.result = sums;
  product.result_offsets = sums_.data();
  for (int i = 0; i < input_bands_.count(); ++i) {
    const Band band = input_bands_.band(i);
    product.values = input_bands_.read(band, input, input_scratch);
    product.matrix = read_output_band(band, output_gradient, output_scratch);
    product.depth = positions(band);
    kernel_.run(product);
    product.addend = sums;
  }
  store_gradient(sums, gradient);
}

const float* PortableConvolution::read_output_band(const Band& band, const void* output,
                                                   float* scratch) const {
  const std::size_t first = output_index(band);
  if (output_is_padded()) return static_cast<const float*>(output) + first;
  const std::size_t columns = geometry_.out;
  const std::size_t padded = kernel_.padded(geometry_.out);
  const std::size_t rows = positions(band);
  if (columns != padded) std::fill_n(scratch, rows * padded, 0.0f);
  for (std::size_t row = 0; row < rows; ++row) {
    copy_numbers(number_, output, first + row * columns, columns, scratch + row * padded);
  }
  return scratch;
}

void PortableConvolution::store_gradient(const float* sums, float* gradient) const {
  const int taps = geometry_.kernel * geometry_.kernel;
  const std::size_t padded = kernel_.padded(geometry_.out);
  for (int out = 0; out < geometry_.out; ++out) {
    for (int in = 0; in < geometry_.in; ++in) {
      for (int tap = 0; tap < taps; ++tap) {
        *gradient++ = sums[(static_cast<std::size_t>(tap) * geometry_.in + in) * padded + out];
      }
    }
  }
}

class PortableKernels : public KernelSet {
 public:
  const char* name() const override { return "portable"; }
  Number fastest_number() const override { return Number::kFloat; }
  std::unique_ptr<const Convolution> make_convolution(const ConvolutionGeometry& geometry,
                                                      Number number, const Epilogue& epilogue,
                                                      KernelUse use) const override {
    return std::make_unique<PortableConvolution>(geometry, number, epilogue, use);
  }
};

}  // namespace
}  // namespace portable

const KernelSet& portable_kernels() {
  static const portable::PortableKernels kernels;
  return kernels;
}

}  // namespace telvar::nn

// Convolutions on oneDNN. Its jitted kernels for channels-last activations are as fast as those for
// its own blocked order, so activations pass from layer to layer as they are.

#include <array>
#include <cstring>
#include <dnnl.hpp>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string>

#include "nn/buffer.h"
#include "nn/kernels.h"
#include "nn/onednn/code_memory.h"
#include "nn/spares.h"
#include "telvar/exceptions.h"

namespace telvar::nn {
namespace {

using dnnl::memory;
using Forward = dnnl::convolution_forward;
using InputGradient = dnnl::convolution_backward_data;
using WeightGradient = dnnl::convolution_backward_weights;
using Tag = memory::format_tag;

constexpr auto kFloat = memory::data_type::f32;

memory::data_type type_of(Number number) {
  return number == Number::kFloat ? kFloat : memory::data_type::bf16;
}

/// Scratch memory is the caller's, so that calls from several threads do not share any.
dnnl::primitive_attr with_own_scratch() {
  dnnl::primitive_attr attributes;
  attributes.set_scratchpad_mode(dnnl::scratchpad_mode::user);
  return attributes;
}

[[noreturn]] void rethrow(const dnnl::error& error, const std::string& activity) {
  if (error.status == dnnl_out_of_memory) throw std::bad_alloc();
  throw types::exception(activity + ": oneDNN: " + error.what());
}

template <class Primitive, class Description>
Primitive make_primitive(const Description& description) {
  require_code_memory();
  return Primitive(description);
}

bool starts_with(const char* text, const char* start) {
  return std::strncmp(text, start, std::strlen(start)) == 0;
}

/// oneDNN falls back on plain loops, a hundred times slower, where no kernel of its own fits.
bool is_fast(const char* implementation) {
  return !starts_with(implementation, "ref") && !starts_with(implementation, "gemm");
}

/// Multiplications and additions below which making a kernel takes about as long as running it.
constexpr double kSmallConvolution = 1e9;

bool is_small(const ConvolutionGeometry& g) {
  return 2.0 * static_cast<double>(g.output_size()) * g.in * g.kernel * g.kernel <
         kSmallConvolution;
}

/// oneDNN's first choice; for `short_lived` ones a plain jitted kernel rather than one of batched
/// small products. That is made in a fifth of the time, which counts where every region has another
/// size, and runs about as fast (at most 14 % slower on large images: bench/kernels).
Forward::primitive_desc forward_description(const Forward::desc& described,
                                            const dnnl::primitive_attr& attributes,
                                            const dnnl::engine& engine, bool short_lived) {
  Forward::primitive_desc first(described, attributes, engine);
  if (!short_lived || !starts_with(first.impl_info_str(), "brgconv")) return first;
  Forward::primitive_desc other(described, attributes, engine);
  while (other.next_impl()) {
    if (starts_with(other.impl_info_str(), "jit")) return other;
  }
  return first;
}

/// How the tensors of a convolution lie in memory.
struct Layout {
  Layout(const ConvolutionGeometry& g, Number number)
      : weight_shape{g.out, g.in, g.kernel, g.kernel},
        strides{g.stride, g.stride},
        dilations{g.dilation - 1, g.dilation - 1},
        before{g.pad_above(), g.pad_before()},
        after{pad_after(g, g.height, g.out_height(), g.pad_above()),
              pad_after(g, g.width, g.out_width(), g.pad_before())},
        input({g.images, g.in, g.height, g.width}, type_of(number), Tag::nhwc),
        output({g.images, g.out, g.out_height(), g.out_width()}, type_of(number), Tag::nhwc),
        weights(weight_shape, type_of(number), Tag::any),
        plain_weights(weight_shape, kFloat, Tag::oihw) {}

  static std::int64_t pad_after(const ConvolutionGeometry& g, int from, int to, int pad) {
    return (to - 1) * g.stride + g.reach() + 1 - from - pad;
  }

  memory::dims weight_shape, strides, dilations, before, after;
  memory::desc input, output, weights, plain_weights;
};

class OneDnnConvolution final : public Convolution {
 public:
  OneDnnConvolution(const dnnl::engine& engine, const ConvolutionGeometry& geometry, Number number,
                    const Epilogue& epilogue, KernelUse use)
      : engine_(engine), layout_(geometry, number), epilogue_(epilogue) {
    make_forward(geometry, epilogue, use == KernelUse::kInference && is_small(geometry));
    if (use == KernelUse::kTraining) make_gradients();
  }

  /// Whether every part has a kernel of its own.
  bool fast() const {
    return is_fast(forward_desc_.impl_info_str()) &&
           (!gradients_ || (is_fast(gradients_->input_desc.impl_info_str()) &&
                            is_fast(gradients_->weight_desc.impl_info_str())));
  }

  std::size_t scratch_bytes() const override { return scratch_bytes_; }
  std::size_t packed_bytes() const override { return forward_desc_.weights_desc().get_size(); }
  std::size_t packed_gradient_bytes() const override {
    return gradients_ ? gradients_->input_desc.weights_desc().get_size() : 0;
  }

  void pack(const float* weights, void* packed, void* scratch) const override {
    run(pack_, {{DNNL_ARG_FROM, layout_.plain_weights, weights},
                {DNNL_ARG_TO, forward_desc_.weights_desc(), packed},
                {DNNL_ARG_SCRATCHPAD, pack_desc_.scratchpad_desc(), scratch}});
  }

  void pack_for_gradient(const float* weights, void* packed, void* scratch) const override {
    run(gradients_->pack,
        {{DNNL_ARG_FROM, layout_.plain_weights, weights},
         {DNNL_ARG_TO, gradients_->input_desc.weights_desc(), packed},
         {DNNL_ARG_SCRATCHPAD, gradients_->pack_desc.scratchpad_desc(), scratch}});
  }

  void forward(const void* input, const void* packed, const float* bias, const void* residual,
               void* output, void* scratch) const override {
    constexpr int kResidual = DNNL_ARG_ATTR_MULTIPLE_POST_OP(0) | DNNL_ARG_SRC_1;
    run(forward_,
        {{DNNL_ARG_SRC, layout_.input, input},
         {DNNL_ARG_WEIGHTS, forward_desc_.weights_desc(), packed},
         {DNNL_ARG_DST, forward_desc_.dst_desc(), output},
         {DNNL_ARG_BIAS, forward_desc_.bias_desc(), epilogue_.bias ? bias : nullptr},
         {kResidual, layout_.output, epilogue_.residual ? residual : nullptr},
         {DNNL_ARG_SCRATCHPAD, forward_desc_.scratchpad_desc(), scratch}},
        forward_calls_);
  }

  void input_gradient(const void* output_gradient, const void* packed, void* gradient,
                      void* scratch) const override {
    run(gradients_->input,
        {{DNNL_ARG_DIFF_DST, layout_.output, output_gradient},
         {DNNL_ARG_WEIGHTS, gradients_->input_desc.weights_desc(), packed},
         {DNNL_ARG_DIFF_SRC, layout_.input, gradient},
         {DNNL_ARG_SCRATCHPAD, gradients_->input_desc.scratchpad_desc(), scratch}});
  }

  void weight_gradient(const void* input, const void* output_gradient, float* gradient,
                       void* scratch) const override {
    const memory::desc own = gradients_->weight_desc.diff_weights_desc();
    const auto rest = static_cast<char*>(scratch) + aligned(own.get_size());
    run(gradients_->weight,
        {{DNNL_ARG_SRC, layout_.input, input},
         {DNNL_ARG_DIFF_DST, layout_.output, output_gradient},
         {DNNL_ARG_DIFF_WEIGHTS, own, scratch},
         {DNNL_ARG_SCRATCHPAD, gradients_->weight_desc.scratchpad_desc(), rest}});
    run(gradients_->unpack,
        {{DNNL_ARG_FROM, own, scratch},
         {DNNL_ARG_TO, layout_.plain_weights, gradient},
         {DNNL_ARG_SCRATCHPAD, gradients_->unpack_desc.scratchpad_desc(), rest}});
  }

 private:
  /// A tensor that a primitive reads or writes, and what it is to it; none where `values` is null.
  struct Argument {
    int role;
    memory::desc layout;
    const void* values;
  };
  using Arguments = std::initializer_list<Argument>;
  static constexpr std::size_t kMostArguments = 6;

  struct Gradients {
    InputGradient::primitive_desc input_desc;
    WeightGradient::primitive_desc weight_desc;
    dnnl::reorder::primitive_desc pack_desc, unpack_desc;
    InputGradient input;
    WeightGradient weight;
    dnnl::reorder pack, unpack;
  };

  void make_forward(const ConvolutionGeometry& geometry, const Epilogue& epilogue,
                    bool short_lived) {
    dnnl::post_ops after;
    if (epilogue.residual) after.append_binary(dnnl::algorithm::binary_add, layout_.output);
    if (epilogue.relu) after.append_eltwise(1, dnnl::algorithm::eltwise_relu, 0, 0);
    dnnl::primitive_attr attributes = with_own_scratch();
    attributes.set_post_ops(after);
    const memory::desc output(layout_.output.dims(), type_of(epilogue.output), Tag::nhwc);
    const auto kind = dnnl::prop_kind::forward_inference;
    const auto direct = dnnl::algorithm::convolution_direct;
    const auto described =
        epilogue.bias
            ? Forward::desc(kind, direct, layout_.input, layout_.weights,
                            memory::desc({geometry.out}, kFloat, Tag::x), output, layout_.strides,
                            layout_.dilations, layout_.before, layout_.after)
            : Forward::desc(kind, direct, layout_.input, layout_.weights, output, layout_.strides,
                            layout_.dilations, layout_.before, layout_.after);
    forward_desc_ = forward_description(described, attributes, engine_, short_lived);
    forward_ = make_primitive<Forward>(forward_desc_);
    pack_desc_ = {engine_, layout_.plain_weights, engine_, forward_desc_.weights_desc(),
                  with_own_scratch()};
    pack_ = make_primitive<dnnl::reorder>(pack_desc_);
    need(forward_desc_.scratchpad_desc());
    need(pack_desc_.scratchpad_desc());
  }

  void make_gradients() {
    const auto direct = dnnl::algorithm::convolution_direct;
    const Forward::primitive_desc hint(
        {dnnl::prop_kind::forward_training, direct, layout_.input, layout_.weights, layout_.output,
         layout_.strides, layout_.dilations, layout_.before, layout_.after},
        engine_);
    Gradients gradients;
    gradients.input_desc = {{direct, layout_.input, layout_.weights, layout_.output,
                             layout_.strides, layout_.dilations, layout_.before, layout_.after},
                            with_own_scratch(),
                            engine_,
                            hint};
    const memory::desc sums(layout_.weight_shape, kFloat, Tag::any);
    gradients.weight_desc = {{direct, layout_.input, sums, layout_.output, layout_.strides,
                              layout_.dilations, layout_.before, layout_.after},
                             with_own_scratch(),
                             engine_,
                             hint};
    gradients.pack_desc = {engine_, layout_.plain_weights, engine_,
                           gradients.input_desc.weights_desc(), with_own_scratch()};
    gradients.unpack_desc = {engine_, gradients.weight_desc.diff_weights_desc(), engine_,
                             layout_.plain_weights, with_own_scratch()};
    gradients.input = make_primitive<InputGradient>(gradients.input_desc);
    gradients.weight = make_primitive<WeightGradient>(gradients.weight_desc);
    gradients.pack = make_primitive<dnnl::reorder>(gradients.pack_desc);
    gradients.unpack = make_primitive<dnnl::reorder>(gradients.unpack_desc);
    need(gradients.input_desc.scratchpad_desc());
    need(gradients.pack_desc.scratchpad_desc());
    const std::size_t sums_bytes = aligned(gradients.weight_desc.diff_weights_desc().get_size());
    need(gradients.weight_desc.scratchpad_desc(), sums_bytes);
    need(gradients.unpack_desc.scratchpad_desc(), sums_bytes);
    gradients_ = std::move(gradients);
  }

  void need(const memory::desc& scratch, std::size_t beside = 0) {
    scratch_bytes_ = std::max(scratch_bytes_, beside + aligned(scratch.get_size()));
  }

  /// A primitive's tensors as oneDNN wants them described.
  struct Call {
    explicit Call(const dnnl::engine& engine) : stream(engine) {}
    dnnl::stream stream;
    std::array<memory, kMostArguments> tensors;
    std::array<dnnl_exec_arg_t, kMostArguments> roles{};
    int count = 0;
  };

  Call call_of(Arguments arguments) const {
    Call call(engine_);
    for (const Argument& one : arguments) {
      if (one.values == nullptr) continue;
      memory& tensor = call.tensors[call.count];
      tensor = memory(one.layout, engine_, const_cast<void*>(one.values));
      call.roles[call.count++] = {one.role, tensor.get()};
    }
    return call;
  }

  /// The same tensors elsewhere in memory.
  static void move(Call& call, Arguments arguments) {
    int index = 0;
    for (const Argument& one : arguments) {
      if (one.values == nullptr) continue;
      memory& tensor = call.tensors[index++];
      // Where a layout has gaps, oneDNN fills them with zeros whenever it is told.
      if (tensor.get_data_handle() != one.values) {
        tensor.set_data_handle(const_cast<void*>(one.values));
      }
    }
  }

  static void execute(const dnnl::primitive& primitive, const Call& call) {
    dnnl::error::wrap_c_api(
        dnnl_primitive_execute(primitive.get(), call.stream.get(), call.count, call.roles.data()),
        "dnnl_primitive_execute");
  }

  void run(const dnnl::primitive& primitive, Arguments arguments) const {
    try {
      execute(primitive, call_of(arguments));
    } catch (const dnnl::error& error) {
      rethrow(error, "running a convolution");
    }
  }

  /// Describing tensors costs as much as a kernel on a few rows.
  void run(const dnnl::primitive& primitive, Arguments arguments, Spares<Call>& spares) const {
    try {
      std::optional<Call> call = spares.take();
      if (call) {
        move(*call, arguments);
      } else {
        call = call_of(arguments);
      }
      execute(primitive, *call);
      spares.give(std::move(*call));
    } catch (const dnnl::error& error) {
      rethrow(error, "running a convolution");
    }
  }

  const dnnl::engine& engine_;
  Layout layout_;
  Epilogue epilogue_;
  std::size_t scratch_bytes_ = 0;
  Forward::primitive_desc forward_desc_;
  Forward forward_;
  dnnl::reorder::primitive_desc pack_desc_;
  dnnl::reorder pack_;
  std::optional<Gradients> gradients_;
  mutable Spares<Call> forward_calls_;
};

/// oneDNN 2.6 reads beyond the last channel in the gradient of a bfloat16 1 x 1 convolution with an
/// odd number of outputs, and gives garbage.
bool is_broken(const ConvolutionGeometry& geometry, Number number, KernelUse use) {
  return number == Number::kBfloat16 && use == KernelUse::kTraining && geometry.kernel == 1 &&
         geometry.out % 2 != 0;
}

class OneDnnKernels final : public KernelSet {
 public:
  const char* name() const override { return "onednn"; }

  Number fastest_number() const override {
    switch (dnnl::get_effective_cpu_isa()) {
      case dnnl::cpu_isa::avx512_core_bf16:
      case dnnl::cpu_isa::avx512_core_amx:
        return Number::kBfloat16;
      default:
        return Number::kFloat;
    }
  }

  std::unique_ptr<const Convolution> make_convolution(const ConvolutionGeometry& geometry,
                                                      Number number, const Epilogue& epilogue,
                                                      KernelUse use) const override {
    if (is_broken(geometry, number, use)) {
      return portable_kernels().make_convolution(geometry, number, epilogue, use);
    }
    const std::lock_guard lock(making_);
    try {
      auto made = std::make_unique<OneDnnConvolution>(engine_, geometry, number, epilogue, use);
      if (made->fast()) return made;
    } catch (const dnnl::error& error) {
      if (error.status != dnnl_unimplemented) rethrow(error, "making a convolution");
    }
    return portable_kernels().make_convolution(geometry, number, epilogue, use);
  }

 private:
  static dnnl::engine make_engine() {
    try {
      return {dnnl::engine::kind::cpu, 0};
    } catch (const dnnl::error& error) {
      rethrow(error, "starting");
    }
  }

  dnnl::engine engine_ = make_engine();
  mutable std::mutex making_;
};

}  // namespace

const KernelSet* onednn_kernels() {
  static const OneDnnKernels kernels;
  return &kernels;
}

}  // namespace telvar::nn

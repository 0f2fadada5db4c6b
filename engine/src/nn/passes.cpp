#include "nn/passes.h"

#include <algorithm>
#include <cstring>
#include <vector>

// Highway includes this file in itself, once for every instruction set; what stands between
// HWY_BEFORE_NAMESPACE and HWY_AFTER_NAMESPACE is compiled for each.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "nn/passes.cpp"
#include <hwy/foreach_target.h>  // must stand before highway.h
#include <hwy/highway.h>

#include "nn/dispatch.h"
#include "nn/vector_numbers-inl.h"

HWY_BEFORE_NAMESPACE();
namespace telvar::nn::HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;
using Vector = hn::Vec<Floats>;

/// Loads and stores `count` values, fewer than a vector has lanes.
template <class T>
HWY_INLINE Vector load_some(Floats d, const T* from, std::size_t count) {
  HWY_ALIGN T values[hn::MaxLanes(Floats())] = {};
  std::memcpy(values, from, count * sizeof(T));
  return load(d, values);
}
template <class T>
HWY_INLINE void store_some(Floats d, Vector vector, T* to, std::size_t count) {
  HWY_ALIGN T values[hn::MaxLanes(Floats())];
  store(d, vector, values);
  std::memcpy(to, values, count * sizeof(T));
}

/// Calls body(offset, load, store) for all values, a vector at a time.
template <class Body>
HWY_INLINE void for_vectors(std::size_t count, const Body& body) {
  const Floats d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    body(
        i, [d](const auto* from) HWY_ATTR { return load(d, from); },
        [d](Vector values, auto* to) HWY_ATTR { store(d, values, to); });
  }
  if (i == count) return;
  const std::size_t rest = count - i;
  body(
      i, [d, rest](const auto* from) HWY_ATTR { return load_some(d, from, rest); },
      [d, rest](Vector values, auto* to) HWY_ATTR { store_some(d, values, to, rest); });
}

template <class From, class To>
void convert(const From* from, std::size_t count, To* to) {
  for_vectors(
      count, [=](std::size_t i, auto load, auto store) HWY_ATTR { store(load(from + i), to + i); });
}

/// So many rows are summed in single precision before they join the sums in double precision.
constexpr std::size_t kBlockRows = 128;

/// Channels are summed in double precision over blocks of rows. body(row begin, row end, channel,
/// load, first, second) gives two sums of a vector of channels over a block.
template <class Body>
HWY_INLINE void sum_channels(const Extent& extent, double* first, double* second,
                             const Body& body) {
  const auto channels = static_cast<std::size_t>(extent.channels);
  std::fill_n(first, channels, 0.0);
  std::fill_n(second, channels, 0.0);
  const Floats d;
  HWY_ALIGN float one[hn::MaxLanes(Floats())], two[hn::MaxLanes(Floats())];
  for (std::size_t begin = 0; begin < extent.rows; begin += kBlockRows) {
    const std::size_t end = std::min(begin + kBlockRows, extent.rows);
    for_vectors(channels, [&](std::size_t c, auto load, auto store) HWY_ATTR {
      Vector a = hn::Zero(d), b = hn::Zero(d);
      body(begin, end, c, load, store, a, b);
      hn::Store(a, d, one);
      hn::Store(b, d, two);
      const std::size_t count = std::min(hn::Lanes(d), channels - c);
      for (std::size_t i = 0; i < count; ++i) {
        first[c + i] += one[i];
        second[c + i] += two[i];
      }
    });
  }
}

/// Writes to `to`, or adds to it, the sum of the fine places, up to four, that lie on a coarse one.
template <class T>
HWY_INLINE void sum_places(const T* const* places, int count, std::size_t channels, bool adds,
                           T* to) {
  for_vectors(channels, [=](std::size_t c, auto load, auto store) HWY_ATTR {
    Vector sum = load(places[0] + c);
    for (int i = 1; i < count; ++i) sum = hn::Add(sum, load(places[i] + c));
    if (adds) sum = hn::Add(sum, load(to + c));
    store(sum, to + c);
  });
}

template <class T>
void split_coarse(const T* gradient, const JoinExtent& e, T* coarse, bool adds) {
  const std::size_t stride = e.fine_channels + e.coarse_channels;
  for (int image = 0; image < e.images; ++image) {
    const T* const plane = gradient + std::size_t(image) * e.height * e.width * stride;
    for (int y = 0; y < e.height; y += 2) {
      for (int x = 0; x < e.width; x += 2, coarse += e.coarse_channels) {
        const T* places[4];
        int count = 0;
        for (int v = y; v < std::min(y + 2, e.height); ++v) {
          for (int u = x; u < std::min(x + 2, e.width); ++u) {
            places[count++] = plane + (std::size_t(v) * e.width + u) * stride + e.fine_channels;
          }
        }
        sum_places(places, count, e.coarse_channels, adds, coarse);
      }
    }
  }
}

void adam(const AdamStep& step, const float* gradient, std::size_t count, float* mean,
          float* square, float* values) {
  const Floats d;
  const Vector beta1 = hn::Set(d, step.beta1), rest1 = hn::Set(d, 1 - step.beta1);
  const Vector beta2 = hn::Set(d, step.beta2), rest2 = hn::Set(d, 1 - step.beta2);
  const Vector scale = hn::Set(d, step.gradient_scale), keep = hn::Set(d, step.keep);
  const Vector rate = hn::Set(d, step.rate), square_scale = hn::Set(d, step.square_scale);
  const Vector epsilon = hn::Set(d, 1e-8f);
  for_vectors(count, [=](std::size_t i, auto load, auto store) HWY_ATTR {
    const Vector g = hn::Mul(load(gradient + i), scale);
    const Vector m = hn::MulAdd(beta1, load(mean + i), hn::Mul(rest1, g));
    const Vector s = hn::MulAdd(beta2, load(square + i), hn::Mul(rest2, hn::Mul(g, g)));
    const Vector root = hn::Add(hn::Sqrt(hn::Mul(s, square_scale)), epsilon);
    const Vector moved = hn::Sub(hn::Mul(keep, load(values + i)), hn::Div(hn::Mul(rate, m), root));
    store(m, mean + i);
    store(s, square + i);
    store(moved, values + i);
  });
}

/// The passes over values of type T, behind untyped pointers.
template <class T>
struct PassesOver {
  static const T* in(const void* values) { return static_cast<const T*>(values); }
  static T* out(void* values) { return static_cast<T*>(values); }

  static void from_floats(const float* from, std::size_t count, void* to) {
    convert(from, count, out(to));
  }
  static void to_floats(const void* from, std::size_t count, float* to) {
    convert(in(from), count, to);
  }

  static void add(void* any_to, const void* any_from, std::size_t count) {
    T* to = out(any_to);
    const T* from = in(any_from);
    for_vectors(count, [=](std::size_t i, auto load, auto store)
                           HWY_ATTR { store(hn::Add(load(to + i), load(from + i)), to + i); });
  }

  static void channel_sums(const void* any_values, const Extent& extent, double* sums,
                           double* squares) {
    const T* values = in(any_values);
    const auto channels = static_cast<std::size_t>(extent.channels);
    sum_channels(extent, sums, squares,
                 [=](std::size_t begin, std::size_t end, std::size_t c, auto load, auto,
                     Vector& sum, Vector& square) HWY_ATTR {
                   for (std::size_t row = begin; row < end; ++row) {
                     const Vector x = load(values + row * channels + c);
                     sum = hn::Add(sum, x);
                     square = hn::MulAdd(x, x, square);
                   }
                 });
  }

  static void normalise(const void* any_values, const Extent& extent, const float* scale,
                        const float* shift, const void* any_residual, bool relu, void* any_to) {
    const T* values = in(any_values);
    const T* residual = in(any_residual);
    T* to = out(any_to);
    const auto channels = static_cast<std::size_t>(extent.channels);
    for (std::size_t row = 0; row < extent.rows; ++row) {
      const std::size_t first = row * channels;
      for_vectors(channels, [=](std::size_t c, auto load, auto store) HWY_ATTR {
        const Floats d;
        Vector y = hn::MulAdd(load(values + first + c), load(scale + c), load(shift + c));
        if (residual != nullptr) y = hn::Add(y, load(residual + first + c));
        if (relu) y = hn::Max(y, hn::Zero(d));
        store(y, to + first + c);
      });
    }
  }

  static void gradient_sums(void* any_gradient, const void* any_output, const void* any_values,
                            const Extent& extent, double* sums, double* products) {
    T* gradient = out(any_gradient);
    const T* output = in(any_output);
    const T* values = in(any_values);
    const auto channels = static_cast<std::size_t>(extent.channels);
    sum_channels(extent, sums, products,
                 [=](std::size_t begin, std::size_t end, std::size_t c, auto load, auto store,
                     Vector& sum, Vector& product) HWY_ATTR {
                   const Floats d;
                   for (std::size_t row = begin; row < end; ++row) {
                     const std::size_t i = row * channels + c;
                     Vector g = load(gradient + i);
                     if (output != nullptr) {
                       g = hn::IfThenElseZero(hn::Gt(load(output + i), hn::Zero(d)), g);
                       store(g, gradient + i);
                     }
                     sum = hn::Add(sum, g);
                     product = hn::MulAdd(g, load(values + i), product);
                   }
                 });
  }

  static void combine(const void* any_gradient, const void* any_values, const Extent& extent,
                      const float* a, const float* b, const float* c, void* any_to) {
    const T* gradient = in(any_gradient);
    const T* values = in(any_values);
    T* to = out(any_to);
    const auto channels = static_cast<std::size_t>(extent.channels);
    for (std::size_t row = 0; row < extent.rows; ++row) {
      const std::size_t first = row * channels;
      for_vectors(channels, [=](std::size_t k, auto load, auto store) HWY_ATTR {
        const Vector rest = hn::MulAdd(load(values + first + k), load(b + k), load(c + k));
        store(hn::MulAdd(load(gradient + first + k), load(a + k), rest), to + first + k);
      });
    }
  }

  static void join(const void* any_fine, const void* any_coarse, const JoinExtent& e,
                   void* any_to) {
    const T* fine = in(any_fine);
    const T* coarse = in(any_coarse);
    T* to = out(any_to);
    const std::size_t coarse_width = (e.width + 1) / 2, coarse_height = (e.height + 1) / 2;
    const std::size_t f = e.fine_channels, c = e.coarse_channels;
    for (int image = 0; image < e.images; ++image) {
      for (int y = 0; y < e.height; ++y) {
        const T* row = coarse + (image * coarse_height + y / 2) * coarse_width * c;
        for (int x = 0; x < e.width; ++x, fine += f, to += f + c) {
          std::memcpy(to, fine, f * sizeof(T));
          std::memcpy(to + f, row + (x / 2) * c, c * sizeof(T));
        }
      }
    }
  }

  static void split(const void* any_gradient, const JoinExtent& e, void* any_fine, bool add_fine,
                    void* any_coarse, bool add_coarse) {
    const T* gradient = in(any_gradient);
    T* fine = out(any_fine);
    T* coarse = out(any_coarse);
    const std::size_t stride = e.fine_channels + e.coarse_channels;
    const std::size_t places = std::size_t(e.images) * e.height * e.width;
    for (std::size_t i = 0; i < places; ++i) {
      const T* const from = gradient + i * stride;
      sum_places(&from, 1, e.fine_channels, add_fine, fine + i * e.fine_channels);
    }
    split_coarse(gradient, e, coarse, add_coarse);
  }

  static void mean_places(const void* any_values, int images, const Extent& image, float* means) {
    const T* values = in(any_values);
    const auto channels = static_cast<std::size_t>(image.channels);
    std::vector<double> sums(channels), squares(channels);
    for (int i = 0; i < images; ++i) {
      channel_sums(values + image.count() * i, image, sums.data(), squares.data());
      for (std::size_t c = 0; c < channels; ++c) {
        means[i * channels + c] = static_cast<float>(sums[c] / static_cast<double>(image.rows));
      }
    }
  }

  static void spread_mean(const float* gradient, int images, const Extent& image,
                          void* any_values) {
    T* values = out(any_values);
    const auto channels = static_cast<std::size_t>(image.channels);
    const float share = 1.0f / static_cast<float>(image.rows);
    for (int i = 0; i < images; ++i) {
      for (std::size_t row = 0; row < image.rows; ++row, values += channels) {
        for_vectors(channels, [=](std::size_t c, auto load, auto store) HWY_ATTR {
          const Floats d;
          store(hn::Mul(load(gradient + i * channels + c), hn::Set(d, share)), values + c);
        });
      }
    }
  }

  static constexpr Passes kTable{from_floats, to_floats,     add,        channel_sums,
                                 normalise,   gradient_sums, combine,    join,
                                 split,       mean_places,   spread_mean};
};

const Passes* table_of(Number number) {
  return number == Number::kFloat ? &PassesOver<float>::kTable : &PassesOver<bfloat16>::kTable;
}

}  // namespace
}  // namespace telvar::nn::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace telvar::nn {

const Passes& passes_over(Number number) {
  return *TELVAR_FOR_PROCESSOR(table_of)(number);
}

void interleave(const float* planes, const Extent& extent, float* values) {
  for (std::size_t row = 0; row < extent.rows; ++row) {
    for (int c = 0; c < extent.channels; ++c) *values++ = planes[c * extent.rows + row];
  }
}

void adam_step(const AdamStep& step, const float* gradient, std::size_t count, float* mean,
               float* square, float* values) {
  TELVAR_FOR_PROCESSOR(adam)(step, gradient, count, mean, square, values);
}

}  // namespace telvar::nn

#endif  // HWY_ONCE

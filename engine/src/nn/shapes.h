#pragma once

#include <vector>

#include "nn/kernels.h"
#include "nn/network.h"
#include "nn/passes.h"

namespace telvar::nn {

/// Images of one size, as a network gets them.
struct InputSize {
  int images = 1;
  int height = 1;
  int width = 1;

  bool operator==(const InputSize& other) const {
    return images == other.images && height == other.height && width == other.width;
  }
};

/// What a layer computes: images x height x width x channels, channels innermost.
struct TensorShape {
  int images = 1;
  int height = 1;
  int width = 1;
  int channels = 1;

  Extent extent() const { return {static_cast<std::size_t>(images) * height * width, channels}; }
  std::size_t count() const { return extent().count(); }
};

/// The shape of every layer's result for inputs of this size.
std::vector<TensorShape> shapes_of(const Network& network, const InputSize& size);

/// The convolution of a layer (kConvolution, kPointwise).
ConvolutionGeometry geometry_of(const Layer& layer, const TensorShape& from);

/// The sizes of a layer that joins.
JoinExtent join_extent(const TensorShape& fine, const TensorShape& coarse);

}  // namespace telvar::nn

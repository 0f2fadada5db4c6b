#include "nn/shapes.h"

#include <stdexcept>

namespace telvar::nn {
namespace {

TensorShape shape_of(const Layer& layer, const std::vector<TensorShape>& shapes) {
  TensorShape shape = shapes[layer.from];
  shape.channels = layer.channels;
  if (layer.kind == LayerKind::kMean) {
    shape.height = shape.width = 1;
  } else if (layer.kind != LayerKind::kJoin) {
    shape.height = (shape.height - 1) / layer.stride + 1;
    shape.width = (shape.width - 1) / layer.stride + 1;
  }
  return shape;
}

}  // namespace

std::vector<TensorShape> shapes_of(const Network& network, const InputSize& size) {
  std::vector<TensorShape> shapes;
  for (const Layer& layer : network.layers()) {
    shapes.push_back(layer.kind == LayerKind::kInput
                         ? TensorShape{size.images, size.height, size.width, layer.channels}
                         : shape_of(layer, shapes));
  }
  return shapes;
}

ConvolutionGeometry geometry_of(const Layer& layer, const TensorShape& from) {
  return {from.images,    from.height,  from.width,   from.channels,
          layer.channels, layer.kernel, layer.stride, layer.dilation};
}

JoinExtent join_extent(const TensorShape& fine, const TensorShape& coarse) {
  if (coarse.height != (fine.height + 1) / 2 || coarse.width != (fine.width + 1) / 2) {
    throw std::logic_error("joined tensors must differ two-fold in their sides");
  }
  return {fine.images, fine.height, fine.width, fine.channels, coarse.channels};
}

}  // namespace telvar::nn

#include "segmenter/network/context.h"

#include <algorithm>
#include <cmath>

#include "nn/passes.h"
#include "segmenter/network/network.h"

namespace telvar::segmenter {
namespace {

float position(int at, int length) {
  return (2 * static_cast<float>(std::min(at, length - 1)) + 1) / static_cast<float>(length) - 1;
}

void fill_positions(int width, int height, int full_width, int full_height, float* out) {
  float* rows = out + std::size_t(full_width) * full_height;
  for (int y = 0; y < full_height; ++y) {
    for (int x = 0; x < full_width; ++x) {
      *out++ = position(x, width);
      *rows++ = position(y, height);
    }
  }
}

}  // namespace

OverviewSize overview_size(int region_width, int region_height, int longer_side) {
  const double longest = std::max(region_width, region_height);
  const double scale = std::min(1.0, longer_side / longest);
  const auto scaled = [&](int side) { return std::max(1, static_cast<int>(side * scale + 0.5)); };
  return {scaled(region_width), scaled(region_height)};
}

ContextPredictor::ContextPredictor(const ContextModel& model, const InputSpec& spec)
    : spec_(spec), positions_(model.positions), side_(model.side) {
  for (const nn::Network& net : model.nets) {
    nets_.emplace_back(net, nn::default_kernels().fastest_number());
    categories_ = net.answer_channels();
  }
}

std::vector<float> ContextPredictor::prepare(const float* pixels, int width, int height) const {
  const int full_width = rounded_up(width), full_height = rounded_up(height);
  const std::size_t area = std::size_t(full_width) * full_height;
  const auto source =
      padded(pixels, spec_.source_channels(), width, height, full_width, full_height);
  const nn::Extent extent{area, spec_.planes() + kPositionPlanes};
  std::vector<float> planes(extent.count()), input(extent.count());
  fill_input_planes(spec_, source.data(), full_width, full_height, planes.data());
  if (positions_) {
    fill_positions(width, height, full_width, full_height, planes.data() + area * spec_.planes());
  }
  nn::interleave(planes.data(), extent, input.data());
  return input;
}

void ContextPredictor::add(std::size_t net, const std::vector<float>& input, int width, int height,
                           float share, std::vector<float>& probabilities) const {
  const nn::Answer logits = nets_[net](input.data(), {1, rounded_up(height), rounded_up(width)});
  const std::size_t area = std::size_t(width) * height;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float* const at = logits.at(0, y, x);
      float* const out = probabilities.data() + std::size_t(y) * width + x;
      for (int c = 0; c < categories_; ++c) out[c * area] += share / (1 + std::exp(-at[c]));
    }
  }
}

ContextMap ContextPredictor::predict(const float* pixels, int width, int height) const {
  if (nets_.empty()) return {};
  const std::vector<float> input = prepare(pixels, width, height);
  std::vector<float> probabilities(std::size_t(categories_) * width * height);
  for (std::size_t i = 0; i < nets_.size(); ++i) {
    add(i, input, width, height, 1.0f / static_cast<float>(nets_.size()), probabilities);
  }
  return {width, height, probabilities};
}

ContextMap ContextPredictor::predict(const float* pixels, int width, int height,
                                     std::size_t net) const {
  std::vector<float> probabilities(std::size_t(categories_) * width * height);
  add(net, prepare(pixels, width, height), width, height, 1.0f, probabilities);
  return {width, height, probabilities};
}

}  // namespace telvar::segmenter

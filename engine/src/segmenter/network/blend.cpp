#include "segmenter/network/blend.h"

#include <algorithm>
#include <cmath>

namespace telvar::segmenter {
namespace {

/// Width of the ramp between neighbours, pixels.
constexpr int kFade = 32;

/// The shortest side, a multiple, with which the fewest pieces cover `length`.
int tight_side(int length, int side, int overlap, int multiple) {
  if (length <= side) return length;
  const int count = (length - overlap + side - overlap - 1) / (side - overlap);
  const int tight = (length + (count - 1) * overlap + count - 1) / count;
  return std::min(side, (tight + multiple - 1) / multiple * multiple);
}

types::Image blank_image(int width, int height) {
  types::Image image;
  image.layout = {static_cast<unsigned>(width),
                  static_cast<unsigned>(height),
                  static_cast<unsigned>(width),
                  1,
                  8,
                  0};
  image.pixels.resize(static_cast<std::size_t>(width) * height);
  return image;
}

std::vector<float> blend_weights(const std::vector<TileSpan>& spans, std::size_t index) {
  std::vector<float> weights(spans[index].size);
  for (int at = 0; at < spans[index].size; ++at) {
    weights[at] = blend_weight(spans, index, at, kFade);
  }
  return weights;
}

}  // namespace

PiecePlan plan_pieces(int width, int height, int side, int overlap, int multiple) {
  const auto spans = [&](int length) {
    return overlapping_spans(length, tight_side(length, side, overlap, multiple), overlap,
                             multiple);
  };
  return {spans(width), spans(height), width, height};
}

BandBlender::BandBlender(const PiecePlan& plan, int categories)
    : plan_(plan), categories_(categories), band_height_(plan.rows.front().size) {
  band_.resize(std::size_t(categories) * band_height_ * plan.width);
  for (int c = 0; c < categories; ++c) images_.push_back(blank_image(plan.width, plan.height));
}

float* BandBlender::band_row(int category, int y) {
  return band_.data() + (std::size_t(category) * band_height_ + y % band_height_) * plan_.width;
}

void BandBlender::add_piece(std::size_t row, std::size_t column, const std::vector<float>& piece) {
  const TileSpan& x = plan_.columns[column];
  const TileSpan& y = plan_.rows[row];
  // What this row of pieces does not reach is complete, and its place in the ring is needed.
  finish_rows(y.begin);
  const std::vector<float> across = blend_weights(plan_.columns, column);
  const std::vector<float> down = blend_weights(plan_.rows, row);
  const float* values = piece.data();
  for (int c = 0; c < categories_; ++c) {
    for (int v = 0; v < y.size; ++v, values += x.size) {
      float* target = band_row(c, y.begin + v) + x.begin;
      for (int u = 0; u < x.size; ++u) target[u] += down[v] * across[u] * values[u];
    }
  }
}

void BandBlender::finish_rows(int end) {
  for (int c = 0; c < categories_; ++c) {
    for (int y = finished_; y < end; ++y) {
      float* from = band_row(c, y);
      unsigned char* to = images_[c].pixels.data() + std::size_t(y) * plan_.width;
      for (int x = 0; x < plan_.width; ++x) {
        // In this order, what is no number (extreme weights overflow) becomes 0.
        const float probability = std::min(std::max(0.0f, from[x]), 1.0f);
        to[x] = static_cast<unsigned char>(probability * 255.0f + 0.5f);
      }
      std::fill(from, from + plan_.width, 0.0f);
    }
  }
  finished_ = end;
}

std::vector<types::Image> BandBlender::take() {
  finish_rows(plan_.height);
  return std::move(images_);
}

}  // namespace telvar::segmenter

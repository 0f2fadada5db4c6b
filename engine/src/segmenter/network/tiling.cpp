#include "segmenter/network/tiling.h"

#include <algorithm>
#include <cstdint>

namespace telvar::segmenter {
namespace {

/// 0 before, 1 after a ramp of `fade` pixels in the middle of what two neighbours share.
float rise(const TileSpan& earlier, const TileSpan& later, int position, int fade) {
  const float middle = 0.5f * (earlier.begin + earlier.size + later.begin);
  return std::clamp((position + 0.5f - middle) / fade + 0.5f, 0.0f, 1.0f);
}

}  // namespace

std::vector<TileSpan> even_spans(int length, int max_size) {
  const int count = (length + max_size - 1) / max_size;
  std::vector<TileSpan> spans;
  for (int i = 0; i < count; ++i) {
    const auto begin = static_cast<int>(std::int64_t{length} * i / count);
    const auto end = static_cast<int>(std::int64_t{length} * (i + 1) / count);
    spans.push_back({begin, end - begin});
  }
  return spans;
}

std::vector<TileSpan> overlapping_spans(int length, int size, int overlap, int multiple) {
  if (length <= size) return {{0, length}};
  const int stride = size - overlap;
  const int count = (length - size + stride - 1) / stride + 1;
  std::vector<TileSpan> spans;
  for (int i = 0; i < count; ++i) {
    const std::int64_t even = std::int64_t{length - size} * i / (count - 1);
    const auto begin = static_cast<int>((even + multiple - 1) / multiple * multiple);
    spans.push_back({begin, std::min(size, length - begin)});
  }
  return spans;
}

float blend_weight(const std::vector<TileSpan>& spans, std::size_t index, int at, int fade) {
  const int position = spans[index].begin + at;
  float weight = 1.0f;
  if (index > 0) weight *= rise(spans[index - 1], spans[index], position, fade);
  if (index + 1 < spans.size()) {
    weight *= 1.0f - rise(spans[index], spans[index + 1], position, fade);
  }
  return weight;
}

}  // namespace telvar::segmenter

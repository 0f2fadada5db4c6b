#include "ocr/experts/spacing.h"

#include <algorithm>
#include <cmath>

namespace telvar::ocr {
namespace {

/// Characters may be read at 0.7 of the nominal size, and neither labels nor the places read are
/// exact.
constexpr float kSlack = 0.6f;
/// What limits there are without any neighbours, in characters.
constexpr float kDefault = 0.5f;
constexpr float kLargest = 4.0f;

}  // namespace

Spacing Spacing::renumbered(const std::vector<int>& position, int categories) const {
  Spacing result(categories);
  const auto at = [&](int old) { return position[static_cast<std::size_t>(old)]; };
  for (int i = 0; i < this->categories(); ++i) {
    result.smallest_[static_cast<std::size_t>(at(i))] = smallest_[static_cast<std::size_t>(i)];
  }
  for (const auto& [pair, distance] : pairs_) {
    result.pairs_[std::minmax(at(pair.first), at(pair.second))] = distance;
  }
  return result;
}

void Spacing::learn(const std::vector<PreparedLabel>& labels) {
  std::vector<const PreparedLabel*> by_x;
  by_x.reserve(labels.size());
  for (const PreparedLabel& label : labels) by_x.push_back(&label);
  std::sort(by_x.begin(), by_x.end(), [](const auto* a, const auto* b) { return a->x < b->x; });
  for (std::size_t i = 0; i < by_x.size(); ++i) {
    for (std::size_t k = i + 1; k < by_x.size(); ++k) {
      const PreparedLabel &a = *by_x[i], &b = *by_x[k];
      if (b.x - a.x >= kUnseen * kPreparedCharacter) break;
      const float distance = std::hypot(b.x - a.x, b.y - a.y) / kPreparedCharacter;
      if (distance >= kUnseen) continue;
      auto& pair = pairs_.try_emplace(std::minmax(a.category, b.category), kUnseen).first->second;
      pair = std::min(pair, distance);
      for (const int category : {a.category, b.category}) {
        auto& smallest = smallest_[static_cast<std::size_t>(category)];
        smallest = std::min(smallest, distance);
      }
    }
  }
}

float Spacing::limit(int a, int b) const {
  const auto of = [&](int category) {
    const float smallest = smallest_[static_cast<std::size_t>(category)];
    return smallest < kUnseen ? smallest : kDefault / kSlack;
  };
  const float unpaired = std::max(of(a), of(b));
  const auto pair = pairs_.find(std::minmax(a, b));
  return kSlack * (pair == pairs_.end() ? unpaired : std::min(pair->second, unpaired));
}

void Spacing::write(core::ByteWriter& writer) const {
  writer.floats(smallest_.data(), smallest_.size());
  writer.u32(static_cast<std::uint32_t>(pairs_.size()));
  for (const auto& [pair, distance] : pairs_) {
    writer.u32(static_cast<std::uint32_t>(pair.first));
    writer.u32(static_cast<std::uint32_t>(pair.second));
    writer.f32(distance);
  }
}

Spacing Spacing::read(core::ByteReader& reader, int categories) {
  const auto distance_of = [](float value) {
    if (value < 0 || value > kLargest) throw core::malformed_bytes("spacing out of range");
    return value;
  };
  Spacing spacing(categories);
  for (float& value : spacing.smallest_) value = distance_of(reader.f32("spacing"));
  const auto last = static_cast<std::uint32_t>(categories) - 1;
  const auto most = static_cast<std::uint32_t>(categories) * (last + 2) / 2;
  const std::uint32_t count = reader.count("spacing pairs", 0, most);
  std::pair<int, int> previous{-1, -1};
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto first = static_cast<int>(reader.count("spacing category", 0, last));
    const auto second = static_cast<int>(reader.count("spacing category", 0, last));
    const std::pair<int, int> pair{first, second};
    if (first > second || pair <= previous) throw core::malformed_bytes("spacing pairs unsorted");
    spacing.pairs_.emplace_hint(spacing.pairs_.end(), pair, distance_of(reader.f32("spacing")));
    previous = pair;
  }
  return spacing;
}

}  // namespace telvar::ocr

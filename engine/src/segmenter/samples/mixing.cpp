#include "segmenter/samples/mixing.h"

#include <algorithm>
#include <cstdint>

namespace telvar::segmenter {
namespace {

/// The categories of a pixel, a flag each.
template <class Flags>
auto targets_at(Flags& targets, std::size_t pixel, std::size_t categories) {
  return targets.begin() + static_cast<std::ptrdiff_t>(pixel * categories);
}

}  // namespace

void lay_over(const Crop& upper, Crop& lower) {
  if (upper.known != lower.known) return;
  const std::size_t categories = lower.known.size();
  const std::size_t area = categories == 0 ? 0 : lower.targets.size() / categories;
  for (std::size_t i = 0; i < area; ++i) {
    const auto flags = targets_at(upper.targets, i, categories);
    const auto end = flags + static_cast<std::ptrdiff_t>(categories);
    if (std::none_of(flags, end, [](std::uint8_t flag) { return flag != 0; })) continue;
    std::copy(flags, end, targets_at(lower.targets, i, categories));
    for (std::size_t at = i; at < lower.pixels.size(); at += area) {
      lower.pixels[at] = upper.pixels[at];
    }
  }
}

}  // namespace telvar::segmenter

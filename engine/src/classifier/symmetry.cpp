#include "classifier/symmetry.h"

#include <utility>

namespace telvar::classifier {

std::vector<int> views_of(const Symmetry& symmetry) {
  std::vector<int> views = {0};
  if (symmetry.turned) views.insert(views.end(), {1, 2, 3});
  if (symmetry.mirrored) {
    const std::size_t count = views.size();
    for (std::size_t i = 0; i < count; ++i) views.push_back(views[i] + 4);
  }
  return views;
}

Sample view_of(const Sample& sample, const Canvas& canvas, int view) {
  if (view == 0) return sample;
  Sample out(sample.size());
  const int right = canvas.width - 1, bottom = canvas.height - 1;
  for (int c = 0; c < canvas.channels; ++c) {
    const std::uint8_t* from = sample.data() + canvas.plane_size() * c;
    std::uint8_t* to = out.data() + canvas.plane_size() * c;
    for (int y = 0; y <= bottom; ++y) {
      for (int x = 0; x <= right; ++x) {
        int u = x, v = y;
        if (view & 1) u = std::exchange(v, right - u);
        if (view & 2) u = right - u, v = bottom - v;
        if (view & 4) u = right - u;
        *to++ = from[static_cast<std::size_t>(v) * canvas.width + u];
      }
    }
  }
  return out;
}

}  // namespace telvar::classifier

// Milliseconds per image.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

namespace telvar_host {

// Collects durations; quantiles by the nearest-rank rule.
class Timing {
 public:
  template <typename Work>
  auto measure(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    auto result = work();
    const std::chrono::duration<double, std::milli> spent =
        std::chrono::steady_clock::now() - start;
    add(spent.count());
    return result;
  }

  void add(double milliseconds) { milliseconds_.push_back(milliseconds); }

  // 0 when nothing was measured.
  double quantile(double share) const {
    if (milliseconds_.empty()) return 0;
    auto sorted = milliseconds_;
    std::sort(sorted.begin(), sorted.end());
    const auto rank =
        static_cast<std::size_t>(std::ceil(share * static_cast<double>(sorted.size())));
    return sorted[std::max<std::size_t>(rank, 1) - 1];
  }

 private:
  std::vector<double> milliseconds_;
};

}  // namespace telvar_host

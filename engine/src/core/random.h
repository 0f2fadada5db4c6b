#pragma once

// The engine's own generator: the same numbers on every platform, and no state shared between
// trainings. Never used for secrets.

#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

namespace telvar::core {

/// xoshiro256** (Blackman and Vigna, 2018), seeded through SplitMix64. Cheap to make: derive one
/// for every purpose, for instance Random({seed, step, chunk}).
class Random {
 public:
  /// Equal keys give equal sequences; keys that differ anywhere give unrelated ones.
  explicit Random(std::initializer_list<std::uint64_t> key);

  std::uint64_t next();
  /// In [0, 1).
  float uniform();
  /// In [low, high).
  float uniform(float low, float high) { return low + (high - low) * uniform(); }
  /// In 0..n-1; n at least 1.
  int below(int n);
  /// True with this probability.
  bool chance(float probability) { return uniform() < probability; }
  /// Standard normal deviate.
  float normal();

  template <class T>
  void shuffle(std::vector<T>& items) {
    for (std::size_t i = items.size(); i > 1; --i) {
      std::swap(items[i - 1], items[below(static_cast<int>(i))]);
    }
  }

 private:
  std::uint64_t state_[4];
};

}  // namespace telvar::core

#pragma once

// How close characters of two categories stand in the training labels.

#include <map>
#include <utility>
#include <vector>

#include "core/bytes.h"
#include "ocr/samples/preparation.h"

namespace telvar::ocr {

/// Distances in nominal characters.
class Spacing {
 public:
  explicit Spacing(int categories = 0) : smallest_(categories, kUnseen) {}

  /// The same for `categories` categories, of which `position` tells where the old ones stand.
  Spacing renumbered(const std::vector<int>& position, int categories) const;
  /// Takes the labels of one sample in.
  void learn(const std::vector<PreparedLabel>& labels);

  /// Characters of the two categories that stand closer than this are one character read twice.
  float limit(int a, int b) const;

  int categories() const { return static_cast<int>(smallest_.size()); }

  void write(core::ByteWriter& writer) const;
  /// Throws malformed_bytes.
  static Spacing read(core::ByteReader& reader, int categories);

 private:
  static constexpr float kUnseen = 2.0f;  // neighbours further apart say nothing

  std::vector<float> smallest_;                 // per category, to any neighbour
  std::map<std::pair<int, int>, float> pairs_;  // first <= second
};

}  // namespace telvar::ocr

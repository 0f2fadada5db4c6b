#pragma once

// What reads one kind of marking. A reader has one expert, and gets another when it is trained on
// images that none of them reads: marks of very different kinds get in each other's way in one
// network, whereas a network of their own leaves what was learned before as it is.

#include <string>
#include <vector>

#include "nn/network.h"
#include "ocr/experts/spacing.h"
#include "ocr/samples/preparation.h"

namespace telvar::ocr {

/// Calibration tries this range, and an artifact must keep to it.
constexpr float kLeastSharpness = 0.25f, kMostSharpness = 8;

struct Expert {
  std::vector<std::string> categories;  // that it tells apart; ascending bytes
  Spacing spacing;
  nn::Network net;
  std::vector<PreparedSample> exemplars;  // labelled by the index among `categories`
  /// Category scores are raised to this power and brought back to a sum of 1, so that of characters
  /// scored 0.9 nine in ten are right.
  float sharpness = 1;
};

/// Where each of `from` stands in `to`, nn::kNone where it does not; both ascending.
std::vector<int> positions(const std::vector<std::string>& from,
                           const std::vector<std::string>& to);

/// The expert for more categories, which hold its own. What is new among them starts untaught, with
/// small weights from `random`.
Expert extended(Expert expert, const std::vector<std::string>& categories, core::Random& random);

/// All but the sharpness.
void write_expert(core::ByteWriter& writer, const Expert& expert);
/// Throws malformed_bytes.
Expert read_expert(core::ByteReader& reader);

/// Throws malformed_bytes unless it lies in its range.
float read_sharpness(core::ByteReader& reader);

}  // namespace telvar::ocr

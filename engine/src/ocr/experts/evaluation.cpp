#include "ocr/experts/evaluation.h"

#include <algorithm>
#include <cmath>

namespace telvar::ocr {
namespace {

constexpr float kRatio = static_cast<float>(kPreparedCharacter) / kReadingCharacter;
/// A character without a label is certain from this strength and best score on: higher than what is
/// reported at all (kStrengthThreshold), as what is taken for a character here is not taught.
constexpr float kCertain = 0.6f;

/// Reading pixels to prepared pixels.
float prepared(float reading) {
  return (reading + 0.5f) * kRatio - 0.5f;
}

/// Index of the nearest character within kFoundRadius, or -1.
int nearest(const std::vector<FoundCharacter>& found, const PreparedLabel& label) {
  int best = -1;
  float least = kFoundRadius * kPreparedCharacter;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const float distance =
        std::hypot(prepared(found[i].x) - label.x, prepared(found[i].y) - label.y);
    if (distance < least) {
      least = distance;
      best = static_cast<int>(i);
    }
  }
  return best;
}

bool is_labelled(const PreparedSample& sample, float x, float y) {
  for (const PreparedLabel& label : sample.labels) {
    if (std::hypot(x - label.x, y - label.y) < kFoundRadius * kPreparedCharacter) return true;
  }
  return false;
}

}  // namespace

bool LabelledScores::right() const {
  return std::max_element(scores.begin(), scores.end()) - scores.begin() == category;
}

Evaluation evaluate(const std::vector<FoundCharacter>& found, const PreparedSample& sample) {
  Evaluation evaluation;
  for (const PreparedLabel& label : sample.labels) {
    const int i = nearest(found, label);
    if (i < 0) {
      evaluation.confidences.push_back(0);
      continue;
    }
    const FoundCharacter& character = found[static_cast<std::size_t>(i)];
    evaluation.confidences.push_back(character.strength *
                                     character.scores[static_cast<std::size_t>(label.category)]);
    evaluation.judged.push_back({character.scores, label.category});
    evaluation.right += evaluation.judged.back().right();
  }
  for (const FoundCharacter& character : found) {
    const int best = character.best();
    const float x = prepared(character.x), y = prepared(character.y);
    if (character.strength >= kCertain &&
        character.scores[static_cast<std::size_t>(best)] >= kCertain &&
        !is_labelled(sample, x, y)) {
      evaluation.unlabelled.push_back({best, x, y});
    }
  }
  return evaluation;
}

}  // namespace telvar::ocr

#include "ocr/network/loss.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ocr/network/network.h"

namespace telvar::ocr {
namespace {

/// Range of normalised values, in local standard deviations, below which nothing stands out
/// (contrast.h): a clean ground stays near 0.
constexpr float kEmptyContrast = 0.25f;

struct Nearest {
  const PreparedLabel* label = nullptr;
  float distance = std::numeric_limits<float>::infinity();  // characters
};

Nearest nearest(const std::vector<PreparedLabel>& labels, float x, float y) {
  Nearest best;
  for (const PreparedLabel& label : labels) {
    const float distance = std::hypot(label.x - x, label.y - y) / kReadingCharacter;
    if (distance < best.distance) best = {&label, distance};
  }
  return best;
}

/// Whether nothing stands out within a third of a character around a reading pixel.
bool clearly_empty(const core::Raster& pixels, float x, float y) {
  constexpr int kReach = kReadingCharacter / 3;
  const int left = std::max(0, static_cast<int>(x) - kReach);
  const int right = std::min(pixels.width - 1, static_cast<int>(x) + kReach);
  const int top = std::max(0, static_cast<int>(y) - kReach);
  const int bottom = std::min(pixels.height - 1, static_cast<int>(y) + kReach);
  float low = pixels.at(0, top, left), high = low;
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      low = std::min(low, pixels.at(0, row, column));
      high = std::max(high, pixels.at(0, row, column));
    }
  }
  return high - low < kEmptyContrast;
}

/// With what weight a cell teaches background.
float background_weight(const Crop& crop, float elsewhere, float distance, float x, float y) {
  if (distance < kIgnoreRadius) return 0;
  if (nearest(crop.unlabelled, x, y).distance < kUnlabelledRadius) return 0;
  if (elsewhere >= 1 || distance < kSurroundingRadius) return 1;
  return clearly_empty(crop.pixels, x, y) ? 1 : elsewhere;
}

/// Exponent of the focal weight, by which what is already certain teaches little.
constexpr double kFocus = 1.5;
/// Weight of background cells beside those of characters: a character too many spoils a line as
/// much as one too few.
constexpr double kBackground = 1.5;
/// What the category labels give to all categories alike: labels by hand are not always right.
constexpr double kSmoothing = 0.05;
/// Characters: the offset's error counts quadratically below, linearly above.
constexpr double kOffsetKnee = 0.1;
/// Weights of the objectness and of the offset beside the category, which has 1: a character that
/// is not found, or is found twice, has no category.
constexpr double kObjectnessShare = 2.0;
constexpr double kOffsetShare = 2.0;
/// Crops without characters weigh as if they had one: so many cells lie within kPositiveRadius.
constexpr std::size_t kLeastCells = 8;

/// What one term adds to the loss, and its derivative by the answer.
struct Term {
  double loss, slope;
};

/// Focal cross-entropy -(1 - p)^f log p of the probability p that the logit gives to what is there.
Term objectness_term(float logit, bool character) {
  const double sign = character ? 1 : -1;
  const double z = sign * logit;
  const double entropy = z > 0 ? std::log1p(std::exp(-z)) : std::log1p(std::exp(z)) - z;
  const double right = std::exp(-entropy), wrong = -std::expm1(-entropy);
  const double focus = std::pow(wrong, kFocus);
  const double balance = kObjectnessShare * (character ? 1 : kBackground);
  return {balance * entropy * focus, -balance * sign * focus * (wrong + kFocus * right * entropy)};
}

Term offset_term(float answer, float truth) {
  const double difference = static_cast<double>(answer) - truth;
  const double size = std::abs(difference);
  if (size < kOffsetKnee) {
    return {kOffsetShare * 0.5 * size * size / kOffsetKnee,
            kOffsetShare * difference / kOffsetKnee};
  }
  return {kOffsetShare * (size - 0.5 * kOffsetKnee), difference > 0 ? kOffsetShare : -kOffsetShare};
}

/// Cross-entropy with smoothed labels; the gradient times `share`.
double category_loss(const float* logits, std::size_t truth, const std::vector<float>& log_shares,
                     double share, float* gradient) {
  const std::size_t count = log_shares.size();
  double highest = -HUGE_VAL, sum = 0;
  for (std::size_t k = 0; k < count; ++k) {
    highest = std::max(highest, double{logits[k]} + log_shares[k]);
  }
  for (std::size_t k = 0; k < count; ++k) {
    sum += std::exp(double{logits[k]} + log_shares[k] - highest);
  }
  const double log_sum = std::log(sum) + highest;
  const double rest = kSmoothing / static_cast<double>(count);
  double loss = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const double log_probability = double{logits[k]} + log_shares[k] - log_sum;
    const double wanted = rest + (k == truth ? 1 - kSmoothing : 0);
    loss -= wanted * log_probability;
    gradient[k] = static_cast<float>(share * (std::exp(log_probability) - wanted));
  }
  return loss;
}

/// The loss of one cell; its gradient times `share`.
double cell_loss(const float* answer, const Targets& targets, std::size_t cell,
                 const std::vector<float>& log_shares, double share, float* gradient) {
  const bool character = targets.objectness[cell] > 0;
  const Term objectness = objectness_term(answer[kObjectness], character);
  const double weight = targets.weight[cell];
  double loss = weight * objectness.loss;
  gradient[kObjectness] = static_cast<float>(share * weight * objectness.slope);
  if (!character) return loss;
  const Term x = offset_term(answer[kOffsetX], targets.offset_x[cell]);
  const Term y = offset_term(answer[kOffsetY], targets.offset_y[cell]);
  gradient[kOffsetX] = static_cast<float>(share * x.slope);
  gradient[kOffsetY] = static_cast<float>(share * y.slope);
  loss += x.loss + y.loss;
  return loss + category_loss(answer + kFirstCategory,
                              static_cast<std::size_t>(targets.category[cell]), log_shares, share,
                              gradient + kFirstCategory);
}

std::size_t character_cells(const std::vector<Targets>& targets) {
  std::size_t count = 0;
  for (const Targets& one : targets) {
    count += static_cast<std::size_t>(
        std::count_if(one.category.begin(), one.category.end(), [](auto c) { return c >= 0; }));
  }
  return count;
}

}  // namespace

Targets make_targets(const Crop& crop, float elsewhere) {
  constexpr std::size_t kCells = static_cast<std::size_t>(kCellColumns) * kCellRows;
  Targets targets{std::vector<float>(kCells, 0), std::vector<float>(kCells, 0),
                  std::vector<std::int64_t>(kCells, -1), std::vector<float>(kCells, 0),
                  std::vector<float>(kCells, 0)};
  for (std::size_t cell = 0; cell < kCells; ++cell) {
    const float x = cell_centre(static_cast<int>(cell % kCellColumns));
    const float y = cell_centre(static_cast<int>(cell / kCellColumns));
    const Nearest found = nearest(crop.labels, x, y);
    if (found.distance < kPositiveRadius) {
      targets.objectness[cell] = targets.weight[cell] = 1;
      targets.category[cell] = found.label->category;
      targets.offset_x[cell] = (found.label->x - x) / kReadingCharacter;
      targets.offset_y[cell] = (found.label->y - y) / kReadingCharacter;
    } else if (crop.unknown.empty() || !crop.unknown[cell]) {
      targets.weight[cell] = background_weight(crop, elsewhere, found.distance, x, y);
    }
  }
  return targets;
}

double network_loss(const float* answer, const std::vector<Targets>& targets,
                    const std::vector<float>& log_shares, float* gradient) {
  const double share = 1.0 / static_cast<double>(std::max(character_cells(targets), kLeastCells));
  const std::size_t channels = kFirstCategory + log_shares.size();
  double loss = 0;
  for (const Targets& one : targets) {
    for (std::size_t cell = 0; cell < one.objectness.size(); ++cell) {
      std::fill_n(gradient, channels, 0.0f);
      loss += cell_loss(answer, one, cell, log_shares, share, gradient);
      answer += channels;
      gradient += channels;
    }
  }
  return loss * share;
}

}  // namespace telvar::ocr

#include "classifier/novelty.h"

#include <algorithm>
#include <cmath>

namespace telvar::classifier {
namespace {

// Fewer cannot say what one in a hundred is; with ten images a class of textures flattening cost
// three points of calibration.
constexpr std::size_t kFewestRecognised = 100;
// Shares of the recognised held-out samples that are less novel. On five trainings flattening
// from 0.90 on lowered one foreign sample in a hundred more, but cost calibration another point.
constexpr double kUsual = 0.95, kRare = 0.99;
constexpr float kFlattest = 0.95f;    // below 1, so that the best category stays the best
constexpr float kLeastScale = 1e-3f;  // of a standard deviation
constexpr float kLeastSpan = 0.05f;   // of novelty, from flat to flattest

int best_of(const Matrix& scores, int row) {
  const float* values = scores.row(row);
  return static_cast<int>(std::max_element(values, values + scores.columns()) - values);
}

/// The squared distance of kernel scores from 1 for a category and 0 for all others.
float residual(const Matrix& scores, int row, int category) {
  float sum = 0;
  for (int c = 0; c < scores.columns(); ++c) {
    const float difference = scores.at(row, c) - (c == category ? 1.0f : 0.0f);
    sum += difference * difference;
  }
  return sum;
}

float novelty_of(const Novelty& usual, const KernelAnswer& kernel, int row, int category) {
  const float beyond = kernel.distances.at(row, category) - usual.usual_distances[category];
  return (residual(kernel.scores, row, category) - usual.usual_residual) / usual.residual_scale +
         beyond / usual.distance_scale;
}

struct Spread {
  float mean, deviation;
};

/// Of at least one value.
Spread spread_of(const std::vector<float>& values) {
  double sum = 0, squares = 0;
  for (const float value : values) sum += value;
  const double mean = sum / static_cast<double>(values.size());
  for (const float value : values) squares += (value - mean) * (value - mean);
  const double deviation = std::sqrt(squares / static_cast<double>(values.size()));
  return {static_cast<float>(mean), std::max(kLeastScale, static_cast<float>(deviation))};
}

/// For each category the mean distance of the samples answered so; that of all where there are
/// none.
std::vector<float> mean_distances(const std::vector<float>& distances,
                                  const std::vector<int>& answers, int categories) {
  std::vector<std::vector<float>> of_category(categories);
  for (std::size_t i = 0; i < answers.size(); ++i) of_category[answers[i]].push_back(distances[i]);
  std::vector<float> means;
  means.reserve(of_category.size());
  for (const auto& values : of_category) {
    means.push_back(spread_of(values.empty() ? distances : values).mean);
  }
  return means;
}

float quantile(const std::vector<float>& ascending, double share) {
  return ascending[static_cast<std::size_t>(share * static_cast<double>(ascending.size() - 1))];
}

}  // namespace

std::optional<Novelty> measure_novelty(const Matrix& scores, const KernelAnswer& kernel,
                                       const std::vector<int>& labels) {
  std::vector<int> rows, answers;
  std::vector<float> residuals, distances;
  for (int i = 0; i < scores.rows(); ++i) {
    if (best_of(scores, i) != labels[i]) continue;
    rows.push_back(i);
    answers.push_back(labels[i]);
    residuals.push_back(residual(kernel.scores, i, labels[i]));
    distances.push_back(kernel.distances.at(i, labels[i]));
  }
  if (rows.size() < kFewestRecognised) return std::nullopt;
  Novelty usual;
  usual.usual_distances = mean_distances(distances, answers, scores.columns());
  for (std::size_t i = 0; i < rows.size(); ++i) distances[i] -= usual.usual_distances[answers[i]];
  const Spread of_residuals = spread_of(residuals);
  usual.usual_residual = of_residuals.mean;
  usual.residual_scale = of_residuals.deviation;
  usual.distance_scale = spread_of(distances).deviation;
  std::vector<float> all;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    all.push_back(novelty_of(usual, kernel, rows[i], answers[i]));
  }
  std::sort(all.begin(), all.end());
  usual.flat_from = quantile(all, kUsual);
  usual.flattest_from = quantile(all, kRare) + kLeastSpan;
  return usual;
}

void flatten(const Novelty& novelty, const KernelAnswer& kernel, Matrix& scores) {
  const float span = novelty.flattest_from - novelty.flat_from;
  for (int i = 0; i < scores.rows(); ++i) {
    const float value = novelty_of(novelty, kernel, i, best_of(scores, i));
    // Coefficients of an artifact are finite; what they add up to may not be, and is novel then.
    const float share =
        value < novelty.flattest_from ? std::max(0.0f, (value - novelty.flat_from) / span) : 1.0f;
    const float even = kFlattest * share / static_cast<float>(scores.columns());
    for (int c = 0; c < scores.columns(); ++c) {
      scores.at(i, c) = (1 - kFlattest * share) * scores.at(i, c) + even;
    }
  }
}

void write_novelty(core::ByteWriter& writer, const std::optional<Novelty>& novelty) {
  writer.u8(novelty ? 1 : 0);
  if (!novelty) return;
  writer.floats(novelty->usual_distances.data(), novelty->usual_distances.size());
  for (const float value : {novelty->usual_residual, novelty->residual_scale,
                            novelty->distance_scale, novelty->flat_from, novelty->flattest_from}) {
    writer.f32(value);
  }
}

std::optional<Novelty> read_novelty(core::ByteReader& reader, int categories) {
  const std::uint8_t measured = reader.u8("novelty");
  if (measured > 1) throw core::malformed_bytes("novelty: neither there nor absent");
  if (measured == 0) return std::nullopt;
  Novelty novelty;
  novelty.usual_distances = reader.floats("usual distances", categories);
  novelty.usual_residual = reader.f32("usual residual");
  novelty.residual_scale = reader.f32("scale of residuals");
  novelty.distance_scale = reader.f32("scale of distances");
  novelty.flat_from = reader.f32("novelty of flat scores");
  novelty.flattest_from = reader.f32("novelty of the flattest scores");
  if (!(novelty.residual_scale > 0 && novelty.distance_scale > 0)) {
    throw core::malformed_bytes("novelty: a scale is not above 0");
  }
  if (!(novelty.flattest_from > novelty.flat_from)) {
    throw core::malformed_bytes("novelty: scores are flattest before they are flat");
  }
  return novelty;
}

}  // namespace telvar::classifier

#include "classifier/evaluation.h"

#include <algorithm>

namespace telvar::classifier {

std::vector<const Sample*> pointers(const TrainingSet& set, const std::vector<int>& indices) {
  std::vector<const Sample*> out;
  out.reserve(indices.size());
  for (const int i : indices) out.push_back(&set.samples[i]);
  return out;
}

Matrix held_out_logits(const TrainingSet& set, const ClassifierState& state,
                       const std::vector<int>& held_out, core::WorkerPool& pool) {
  const int categories = static_cast<int>(set.categories.size());
  Matrix out(static_cast<int>(held_out.size()), categories);
  for (std::size_t number = 0; number < state.answers.size(); ++number) {
    std::vector<int> rows, indices;
    for (int row = 0; row < out.rows(); ++row) {
      if (set.folds[held_out[row]] != static_cast<int>(number)) continue;
      rows.push_back(row);
      indices.push_back(held_out[row]);
    }
    const Matrix logits = state.answers[number].logits(pointers(set, indices), pool);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      std::copy_n(logits.row(static_cast<int>(i)), categories, out.row(rows[i]));
    }
  }
  return out;
}

double accuracy(const Matrix& scores, const std::vector<int>& labels) {
  if (labels.empty()) return 0;
  double right = 0;
  for (int i = 0; i < scores.rows(); ++i) {
    const float* row = scores.row(i);
    right += std::max_element(row, row + scores.columns()) - row == labels[i];
  }
  return right / static_cast<double>(labels.size());
}

}  // namespace telvar::classifier

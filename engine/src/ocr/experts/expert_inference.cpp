#include "ocr/experts/expert_inference.h"

#include <algorithm>
#include <cmath>

namespace telvar::ocr {

ExpertInference::ExpertInference(const Expert& expert, const std::vector<std::string>& categories,
                                 Precision precision)
    : net_(expert.net, precision),
      spacing_(expert.spacing),
      sharpness_(expert.sharpness),
      categories_(static_cast<int>(categories.size())),
      position_(positions(expert.categories, categories)) {}

std::vector<FoundCharacter> ExpertInference::recognise(const GraySource& source,
                                                       core::WorkerPool& pool) const {
  std::vector<FoundCharacter> found = decode(net_.votes(source, pool), spacing_);
  for (FoundCharacter& character : found) {
    sharpen(character.scores, sharpness_);
    if (position_.size() == static_cast<std::size_t>(categories_)) continue;
    std::vector<float> scores(static_cast<std::size_t>(categories_));
    for (std::size_t k = 0; k < position_.size(); ++k) {
      scores[static_cast<std::size_t>(position_[k])] = character.scores[k];
    }
    character.scores = std::move(scores);
  }
  return found;
}

double evidence(const std::vector<FoundCharacter>& found) {
  constexpr float kLeast = 1e-3f;  // keeps one character from deciding alone
  double sum = 0;
  for (const FoundCharacter& character : found) {
    const float score = character.scores[static_cast<std::size_t>(character.best())];
    sum += 1 + 2 * std::log2(std::max(score, kLeast));
  }
  return sum;
}

std::vector<FoundCharacter> recognise_best(const std::vector<ExpertInference>& experts,
                                           const GraySource& source, core::WorkerPool& pool) {
  std::vector<FoundCharacter> best = experts.front().recognise(source, pool);
  for (std::size_t i = 1; i < experts.size(); ++i) {
    std::vector<FoundCharacter> found = experts[i].recognise(source, pool);
    if (evidence(found) > evidence(best)) best = std::move(found);
  }
  return best;
}

}  // namespace telvar::ocr

#include "ocr/expert_reading.h"

#include <algorithm>
#include <cmath>

namespace telvar::ocr {

ExpertReader::ExpertReader(const Expert& expert, const std::vector<std::string>& categories,
                           Precision precision)
    : net_(expert.net, precision),
      spacing_(expert.spacing),
      sharpness_(expert.sharpness),
      categories_(static_cast<int>(categories.size())),
      position_(positions(expert.categories, categories)) {}

std::vector<FoundCharacter> ExpertReader::read(const GraySource& source,
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

std::vector<FoundCharacter> read_best(const std::vector<ExpertReader>& experts,
                                      const GraySource& source, core::WorkerPool& pool) {
  std::vector<FoundCharacter> best = experts.front().read(source, pool);
  for (std::size_t i = 1; i < experts.size(); ++i) {
    std::vector<FoundCharacter> found = experts[i].read(source, pool);
    if (evidence(found) > evidence(best)) best = std::move(found);
  }
  return best;
}

}  // namespace telvar::ocr

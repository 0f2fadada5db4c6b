#include "ocr/result.h"

#include <algorithm>
#include <numeric>

#include "core/messages.h"
#include "telvar_msg/ocr_result.pb.h"
#include "text/lines.h"

namespace telvar::ocr {
namespace {

namespace msg = telvar_msg::qv::ocr;

void add_character(const FoundCharacter& character, const std::vector<std::string>& categories,
                   msg::SampleResult& sample) {
  msg::CharacterResult& result = *sample.add_characters();
  result.set_first_value(character.x);
  result.set_second_value(character.y);
  result.set_third_value(std::clamp(character.strength, 0.0f, 1.0f));
  std::vector<std::size_t> order(categories.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return character.scores[a] > character.scores[b];
  });
  for (const std::size_t k : order) {
    msg::CharacterCategoryResult& score = *result.add_category_scores();
    score.set_category_id(categories[k]);
    score.set_score(character.scores[k]);
  }
}

/// Rounding must not make the scores sum to more than 1.
void bound_scores(FoundCharacter& character) {
  const double sum = std::accumulate(character.scores.begin(), character.scores.end(), 0.0);
  const auto scale = static_cast<float>(1.0 / std::max(sum * (1 + 1e-6), 1.0));
  for (float& score : character.scores) score *= scale;
}

}  // namespace

std::string write_result(std::vector<FoundCharacter> characters,
                         const std::vector<std::string>& categories, const NominalSize& size,
                         std::chrono::nanoseconds time) {
  std::vector<std::pair<float, float>> points;
  for (FoundCharacter& character : characters) {
    bound_scores(character);
    points.emplace_back(character.x, character.y);
  }
  msg::Result result;
  msg::SampleResult& sample = *result.mutable_sample();
  double sum = 0;
  float lowest = characters.empty() ? 0.0f : 1.0f;
  for (const auto& indexes : text::group_into_lines(points, size.height)) {
    msg::Line& line = *sample.add_lines();
    for (const std::size_t index : indexes) {
      const FoundCharacter& character = characters[index];
      const auto best = static_cast<std::size_t>(character.best());
      line.add_indexes(sample.characters_size());
      line.mutable_text()->append(categories[best]);
      add_character(character, categories, sample);
      sum += character.scores[best];
      lowest = std::min(lowest, character.scores[best]);
    }
  }
  const double count = std::max<double>(1, static_cast<double>(characters.size()));
  sample.set_first_value(static_cast<float>(sum / count));
  sample.set_second_value(lowest);
  result.mutable_processing_time()->set_seconds(time.count() / 1'000'000'000);
  result.mutable_processing_time()->set_nanos(static_cast<int>(time.count() % 1'000'000'000));
  return core::serialised(result, "reading an image");
}

}  // namespace telvar::ocr

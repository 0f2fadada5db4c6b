#include "text/fielded_sample.h"

#include <algorithm>

namespace telvar::text {
namespace {

namespace msg = telvar_msg::qv::ocr;

msg::CharacterResult restrict_to(const CharacterClass& allowed,
                                 const msg::CharacterResult& recognised) {
  std::vector<msg::CharacterCategoryResult> kept;
  double sum = 0;
  for (const auto& category : recognised.category_scores()) {
    const auto character = single_character(category.category_id());
    if (!character || !allowed.contains(*character)) continue;
    kept.push_back(category);
    sum += usable_score(category.score());
  }
  for (auto& category : kept) {
    category.set_score(static_cast<float>(usable_score(category.score()) / sum));
  }
  std::stable_sort(kept.begin(), kept.end(),
                   [](const auto& a, const auto& b) { return a.score() > b.score(); });
  msg::CharacterResult restricted = recognised;
  restricted.clear_category_scores();
  for (auto& category : kept) *restricted.add_category_scores() = std::move(category);
  return restricted;
}

/// The mean and the lowest best score of the characters; both 0 when there are none.
void set_values(msg::SampleResult& sample) {
  double sum = 0;
  float lowest = sample.characters().empty() ? 0.0f : 1.0f;
  for (const auto& character : sample.characters()) {
    sum += character.category_scores(0).score();
    lowest = std::min(lowest, character.category_scores(0).score());
  }
  const int count = std::max(1, sample.characters_size());
  sample.set_first_value(static_cast<float>(sum / count));
  sample.set_second_value(lowest);
}

}  // namespace

msg::SampleResult fielded_sample(const RecognisedSample& sample, const MatchedLines& lines,
                                 const std::vector<Match>& unlined) {
  std::vector<Match> matches = unlined;
  for (const auto& line : lines) matches.insert(matches.end(), line.begin(), line.end());
  std::sort(matches.begin(), matches.end(),
            [](const Match& a, const Match& b) { return a.character < b.character; });

  msg::SampleResult fielded;
  std::vector<int> position(sample.characters.size());
  for (const Match& match : matches) {
    position[match.character] = fielded.characters_size();
    *fielded.add_characters() =
        restrict_to(*match.allowed, sample.message.characters(static_cast<int>(match.character)));
  }
  for (const auto& line : lines) {
    if (line.empty()) continue;
    msg::Line& written = *fielded.add_lines();
    for (const Match& match : line) {
      const int index = position[match.character];
      written.add_indexes(index);
      written.mutable_text()->append(fielded.characters(index).category_scores(0).category_id());
    }
  }
  set_values(fielded);
  return fielded;
}

}  // namespace telvar::text

#include "text/recognised_sample.h"

#include <algorithm>
#include <cmath>

#include "telvar/exceptions.h"

namespace telvar::text {
namespace {

bool is_doubtful(const telvar_msg::qv::ocr::CharacterResult& message) {
  double best = 0;
  for (const auto& category : message.category_scores()) {
    best = std::max(best, usable_score(category.score()));
  }
  // A strength of zero is how a sample that was not read by a reader leaves it.
  const double strength = usable_score(message.third_value());
  return best < kDoubtfulScore || (strength > 0 && strength < kDoubtfulScore);
}

RecognisedCharacter read_character(const telvar_msg::qv::ocr::CharacterResult& message) {
  RecognisedCharacter recognised;
  recognised.doubtful = is_doubtful(message);
  for (const auto& category : message.category_scores()) {
    const double score = usable_score(category.score());
    const auto character = single_character(category.category_id());
    if (!character || score < kPlausibleScore) continue;
    const auto log_score = std::llround(std::log(score) * static_cast<double>(kLogScoreUnit));
    recognised.candidates.push_back({*character, log_score});
  }
  std::stable_sort(recognised.candidates.begin(), recognised.candidates.end(),
                   [](const auto& a, const auto& b) { return a.log_score > b.log_score; });
  return recognised;
}

/// The positions that `line`, the `number`-th from 0, names; marks them in `taken`.
std::vector<std::size_t> read_line(const telvar_msg::qv::ocr::Line& line, int number,
                                   std::vector<bool>& taken) {
  std::vector<std::size_t> positions;
  for (const std::int32_t index : line.indexes()) {
    const std::string place =
        "sample: line " + std::to_string(number) + " names character " + std::to_string(index);
    if (index < 0 || static_cast<std::size_t>(index) >= taken.size()) {
      throw types::invalid_message(place + ", but there are " + std::to_string(taken.size()));
    }
    if (taken[index]) throw types::invalid_message(place + ", which stands in a line already");
    taken[index] = true;
    positions.push_back(index);
  }
  return positions;
}

}  // namespace

double usable_score(float score) {
  return score > 0 ? std::min(1.0, static_cast<double>(score)) : 0.0;
}

LogScore RecognisedCharacter::log_score_in(const CharacterClass& allowed) const {
  for (const Candidate& candidate : candidates) {
    if (allowed.contains(candidate.character)) return candidate.log_score;
  }
  return kImpossible;
}

RecognisedSample parse_recognised_sample(const std::string& message) {
  RecognisedSample sample;
  if (!sample.message.ParseFromString(message)) {
    throw types::invalid_message("sample: the bytes are no SampleResult message");
  }
  for (const auto& character : sample.message.characters()) {
    sample.characters.push_back(read_character(character));
  }
  std::vector<bool> taken(sample.characters.size());
  for (int i = 0; i < sample.message.lines_size(); ++i) {
    sample.lines.push_back(read_line(sample.message.lines(i), i, taken));
  }
  return sample;
}

}  // namespace telvar::text

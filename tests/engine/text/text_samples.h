#pragma once

// Short ways to write the messages of fielding.

#include <string>
#include <utility>
#include <vector>

#include "telvar/ocr.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_msg/ocr_result.pb.h"

namespace telvar::test {

namespace msg = telvar_msg::qv::ocr;

using Scores = std::vector<std::pair<std::string, float>>;

/// A character at (10 n, 5), n being its position in the sample.
inline void add_character(msg::SampleResult& sample, const Scores& scores, float strength = 1) {
  msg::CharacterResult& character = *sample.add_characters();
  character.set_first_value(10.0f * (sample.characters_size() - 1));
  character.set_second_value(5);
  character.set_third_value(strength);
  for (const auto& [category, score] : scores) {
    auto& added = *character.add_category_scores();
    added.set_category_id(category);
    added.set_score(score);
  }
}

/// Appends a line of the characters from position `first` on.
inline void add_line(msg::SampleResult& sample, int first) {
  msg::Line& line = *sample.add_lines();
  for (int i = first; i < sample.characters_size(); ++i) {
    line.add_indexes(i);
    if (sample.characters(i).category_scores_size() > 0) {
      line.mutable_text()->append(sample.characters(i).category_scores(0).category_id());
    }
  }
}

inline msg::SampleResult sample_of(const std::vector<std::vector<Scores>>& lines) {
  msg::SampleResult sample;
  for (const auto& line : lines) {
    const int first = sample.characters_size();
    for (const Scores& scores : line) add_character(sample, scores);
    add_line(sample, first);
  }
  return sample;
}

/// Every character of every text (ASCII) read with certainty.
inline msg::SampleResult certain(const std::vector<std::string>& texts) {
  std::vector<std::vector<Scores>> lines;
  for (const std::string& text : texts) {
    lines.emplace_back();
    for (const char c : text) lines.back().push_back({{std::string(1, c), 1.0f}});
  }
  return sample_of(lines);
}

inline std::string basic(const std::string& allowed, int count) {
  msg::Fielding fielding;
  fielding.mutable_basic_fielding()->mutable_character_class()->set_allowed_characters(allowed);
  fielding.mutable_basic_fielding()->set_count(count);
  return fielding.SerializeAsString();
}

using PatternLines = std::vector<std::vector<std::string>>;

inline std::string advanced(const std::vector<std::pair<std::string, PatternLines>>& patterns) {
  msg::Fielding fielding;
  auto& map = *fielding.mutable_advanced_fielding()->mutable_patterns();
  for (const auto& [name, lines] : patterns) {
    msg::Pattern& pattern = map[name];
    for (const auto& line : lines) {
      msg::PatternLine& added = *pattern.add_lines();
      for (const auto& allowed : line) {
        added.add_character_classes()->set_allowed_characters(allowed);
      }
    }
  }
  return fielding.SerializeAsString();
}

struct Answer {
  bool matched = false;
  std::string pattern;
  msg::SampleResult sample;

  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const auto& line : sample.lines()) texts.push_back(line.text());
    return texts;
  }
};

inline Answer answer_of(const std::string& fielding, const msg::SampleResult& sample) {
  const auto [fielded, verdict] = qv::ocr::Fielding(fielding).apply(sample.SerializeAsString());
  msg::FieldingResult result;
  Answer answer;
  if (!result.ParseFromString(verdict) || !answer.sample.ParseFromString(fielded)) return answer;
  answer.matched = result.matched();
  answer.pattern = result.pattern_name();
  return answer;
}

}  // namespace telvar::test

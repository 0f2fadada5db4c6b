#include "text/fielding_rules.h"

#include <algorithm>

#include "core/messages.h"
#include "telvar/exceptions.h"
#include "telvar_msg/ocr_fielding.pb.h"

namespace telvar::text {
namespace {

using types::invalid_parameters;

CharacterClass parse_class(const telvar_msg::qv::ocr::CharacterClass& message,
                           const std::string& place) {
  CharacterClass parsed(message.allowed_characters());
  if (parsed.empty()) throw invalid_parameters("fielding: " + place + " allows no character");
  return parsed;
}

BasicRule parse_basic(const telvar_msg::qv::ocr::BasicFielding& message) {
  if (message.count() < 0) {
    throw invalid_parameters("fielding: the count is " + std::to_string(message.count()) +
                             ", it must not be negative");
  }
  return {parse_class(message.character_class(), "the basic fielding"),
          static_cast<std::size_t>(message.count())};
}

PatternLine parse_line(const telvar_msg::qv::ocr::PatternLine& message, const std::string& place) {
  if (message.character_classes().empty()) {
    throw invalid_parameters("fielding: " + place + " has no positions");
  }
  PatternLine line;
  line.reserve(message.character_classes_size());
  for (const auto& allowed : message.character_classes()) {
    line.push_back(
        parse_class(allowed, "position " + std::to_string(line.size()) + " of " + place));
  }
  return line;
}

Pattern parse_pattern(const std::string& name, const telvar_msg::qv::ocr::Pattern& message) {
  const std::string place = "pattern '" + name + "'";
  if (message.lines().empty()) throw invalid_parameters("fielding: " + place + " has no lines");
  Pattern pattern{name, {}};
  for (const auto& line : message.lines()) {
    const std::string number = std::to_string(pattern.lines.size());
    pattern.lines.push_back(parse_line(line, "line " + number + " of " + place));
  }
  return pattern;
}

}  // namespace

CharacterClass::CharacterClass(const std::string& allowed) {
  for (const Character character : characters_of(allowed)) {
    if (character < ascii_.size()) {
      ascii_.set(character);
    } else {
      others_.push_back(character);
    }
  }
  std::sort(others_.begin(), others_.end());
  others_.erase(std::unique(others_.begin(), others_.end()), others_.end());
}

bool CharacterClass::contains(Character character) const {
  if (character < ascii_.size()) return ascii_[character];
  return std::binary_search(others_.begin(), others_.end(), character);
}

FieldingRules parse_fielding(const std::string& message) {
  const core::ParsedMessage<telvar_msg::qv::ocr::Fielding> parsed(message, "fielding");
  if (parsed->has_basic_fielding() == parsed->has_advanced_fielding()) {
    throw invalid_parameters(parsed->has_basic_fielding()
                                 ? "fielding: both basic and advanced fielding are set"
                                 : "fielding: neither basic nor advanced fielding is set");
  }
  FieldingRules rules;
  if (parsed->has_basic_fielding()) {
    rules.basic = parse_basic(parsed->basic_fielding());
    return rules;
  }
  for (const auto& [name, pattern] : parsed->advanced_fielding().patterns()) {
    rules.patterns.push_back(parse_pattern(name, pattern));
  }
  if (rules.patterns.empty()) {
    throw invalid_parameters("fielding: the advanced fielding has no patterns");
  }
  std::sort(rules.patterns.begin(), rules.patterns.end(),
            [](const Pattern& a, const Pattern& b) { return a.name < b.name; });
  return rules;
}

}  // namespace telvar::text

#include <algorithm>
#include <optional>

#include "telvar/ocr.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_numeric/default_mode.h"
#include "text/fielded_sample.h"
#include "text/fielding_alignment.h"
#include "text/fielding_rules.h"
#include "text/recognised_sample.h"

namespace telvar::qv::ocr {
namespace {

using namespace telvar::text;

struct Verdict {
  std::string pattern_name;
  telvar_msg::qv::ocr::SampleResult sample;
};

std::optional<Verdict> apply_basic(const BasicRule& rule, const RecognisedSample& sample) {
  const auto chosen = choose_characters(rule, sample);
  if (!chosen) return std::nullopt;
  std::vector<bool> free(sample.characters.size());
  for (const std::size_t character : *chosen) free[character] = true;
  MatchedLines lines;
  for (const auto& recognised : sample.lines) {
    std::vector<Match> line;
    for (const std::size_t character : recognised) {
      if (free[character]) line.push_back({character, &rule.allowed});
      free[character] = false;
    }
    lines.push_back(std::move(line));
  }
  std::vector<Match> unlined;
  for (const std::size_t character : *chosen) {
    if (free[character]) unlined.push_back({character, &rule.allowed});
  }
  return Verdict{"", fielded_sample(sample, lines, unlined)};
}

std::optional<Verdict> apply_patterns(const std::vector<Pattern>& patterns,
                                      const RecognisedSample& sample) {
  const Pattern* best = nullptr;
  LogScore best_so_far = kImpossible;
  for (const Pattern& pattern : patterns) {
    const LogScore score = best_score(pattern, sample);
    if (score > best_so_far) {
      best = &pattern;
      best_so_far = score;
    }
  }
  if (best == nullptr) return std::nullopt;
  return Verdict{best->name, fielded_sample(sample, best_alignment(*best, sample))};
}

}  // namespace

class Fielding::Impl {
 public:
  explicit Impl(const std::string& fielding) : rules_(parse_fielding(fielding)) {}

  std::pair<std::string, std::string> apply(const std::string& message) const {
    const RecognisedSample sample = parse_recognised_sample(message);
    const auto verdict =
        rules_.basic ? apply_basic(*rules_.basic, sample) : apply_patterns(rules_.patterns, sample);
    telvar_msg::qv::ocr::FieldingResult result;
    result.set_matched(verdict.has_value());
    if (!verdict) return {"", result.SerializeAsString()};
    result.set_pattern_name(verdict->pattern_name);
    return {verdict->sample.SerializeAsString(), result.SerializeAsString()};
  }

 private:
  FieldingRules rules_;
};

Fielding::Fielding(const std::string& fielding) {
  const numeric::DefaultMode mode;
  impl_ = std::make_unique<Impl>(fielding);
}

Fielding::~Fielding() = default;

std::pair<std::string, std::string> Fielding::apply(const std::string& sample) const {
  const numeric::DefaultMode mode;
  return impl_->apply(sample);
}

}  // namespace telvar::qv::ocr

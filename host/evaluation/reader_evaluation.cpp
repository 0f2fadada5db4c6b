#include "evaluation/reader_evaluation.h"

#include <TelvarTypes/Exceptions.h>

#include <algorithm>
#include <iterator>
#include <numeric>

#include "app/text.h"
#include "evaluation/mark_matching.h"
#include "images/read_image.h"
#include "metrics/text_metrics.h"

namespace telvar_host {
namespace {

using Place = std::optional<cv::Rect2d>;

// The true lines of an image, and where each stands as far as the marks tell.
struct Truth {
  std::vector<std::string> lines;
  std::vector<Place> places;
};

void grow(Place& place, double x, double y, const NominalSize& size) {
  const cv::Rect2d box(x - size.width / 2, y - size.height / 2, size.width, size.height);
  place = place ? *place | box : box;
}

Place place_of(const Reading& reading, const ReadLine& line, const NominalSize& size) {
  Place place;
  for (const auto index : line.characters) {
    grow(place, reading.characters[index].x, reading.characters[index].y, size);
  }
  return place;
}

// A blank line is nothing to read.
std::vector<std::string> with_letters(const std::vector<std::string>& lines) {
  std::vector<std::string> kept;
  std::copy_if(lines.begin(), lines.end(), std::back_inserter(kept),
               [](const std::string& line) { return !letters_of(line).empty(); });
  return kept;
}

Truth truth_of(const OcrItem& item, const NominalSize& size, ReaderTool& tool) {
  std::vector<std::pair<float, float>> centres;
  for (const auto& mark : item.characters) {
    const auto [u, v] = item.in_region(mark);
    centres.emplace_back(static_cast<float>(u), static_cast<float>(v));
  }
  Truth marked;
  if (!centres.empty()) {
    for (const auto& line : tool.sort(centres, size.height)) {
      marked.lines.emplace_back();
      marked.places.emplace_back();
      for (const auto index : line) {
        marked.lines.back() += item.characters[index].category;
        grow(marked.places.back(), centres[index].first, centres[index].second, size);
      }
    }
  }
  if (item.lines.empty()) return marked;
  const auto lines = with_letters(item.lines);
  if (lines.size() != marked.lines.size()) return {lines, std::vector<Place>(lines.size())};
  return {lines, marked.places};
}

class Counter {
 public:
  Counter(ReaderTool& tool, const OcrData& data, const NominalSize& size,
          ReaderEvaluation& evaluation)
      : tool_(tool), data_(data), size_(size), evaluation_(evaluation) {}

  void count(std::size_t index, const Reading& reading) {
    const auto& item = data_.items[index];
    ++evaluation_.images;
    const auto characters = evaluation_.characters, errors = evaluation_.character_errors;
    if (item.partial) {
      count_marks(index, reading);
      const auto lines = with_letters(item.lines);
      count_lines(index, reading, {lines, std::vector<Place>(lines.size())});
    } else {
      const auto truth = truth_of(item, size_, tool_);
      count_characters(reading, truth);
      count_lines(index, reading, truth);
    }
    evaluation_.item_characters.push_back(evaluation_.characters - characters);
    evaluation_.item_errors.push_back(evaluation_.character_errors - errors);
  }

 private:
  void count_characters(const Reading& reading, const Truth& truth) {
    std::u32string expected;
    std::u32string read;
    for (const auto& line : truth.lines) expected += letters_of(line);
    for (const auto& line : reading.lines) read += letters_of(line.text);
    evaluation_.characters += expected.size();
    evaluation_.character_errors += edit_distance(expected, read);
  }

  void count_lines(std::size_t index, const Reading& reading, const Truth& truth) {
    const bool partial = data_.items[index].partial;
    evaluation_.lines += truth.lines.size();
    for (const auto& pair : align_lines(truth.lines, reading.texts(), partial)) {
      const bool blank = !pair.truth && pair.cost == 0;
      if (blank || (partial && !pair.truth)) continue;
      if (pair.truth && pair.read && pair.cost == 0) {
        ++evaluation_.exact_lines;
        continue;
      }
      if (!pair.truth) ++evaluation_.stray_lines;
      ReaderMistake mistake{index, {}, {}, pair.cost, {}};
      if (pair.truth) {
        mistake.expected = truth.lines[*pair.truth];
        mistake.place = truth.places[*pair.truth];
      }
      if (pair.read) {
        mistake.read = reading.lines[*pair.read].text;
        const auto place = place_of(reading, reading.lines[*pair.read], size_);
        mistake.place = mistake.place && place ? *mistake.place | *place : place;
      }
      note_confusions(mistake);
      evaluation_.mistakes.push_back(std::move(mistake));
    }
  }

  void note_confusions(const ReaderMistake& mistake) {
    if (mistake.expected.empty() || mistake.read.empty()) return;
    for (const auto& [expected, read] :
         edit_script(letters_of(mistake.expected), letters_of(mistake.read))) {
      if (expected != read) ++evaluation_.confused[{expected, read}];
    }
  }

  void count_marks(std::size_t index, const Reading& reading) {
    const auto& item = data_.items[index];
    std::vector<std::pair<double, double>> marks;
    for (const auto& mark : item.characters) marks.push_back(item.in_region(mark));
    const auto matched = match_marks(marks, reading.characters, size_);
    for (std::size_t i = 0; i < marks.size(); ++i) {
      const auto& expected = item.characters[i].category;
      const auto read = matched[i] ? reading.characters[*matched[i]].category : std::string();
      ++evaluation_.characters;
      if (read == expected) continue;
      ++evaluation_.character_errors;
      ++evaluation_.confused[{expected, read}];
      ReaderMistake mistake{index, expected, read, 1, {}};
      grow(mistake.place, marks[i].first, marks[i].second, size_);
      evaluation_.mistakes.push_back(std::move(mistake));
    }
  }

  ReaderTool& tool_;
  const OcrData& data_;
  const NominalSize size_;
  ReaderEvaluation& evaluation_;
};

// What was read; nothing where no pattern matches.
Reading read(ReaderTool& tool, const cv::Mat& image, const OcrItem& item, const NominalSize& size,
             const Fielding& fielding) {
  if (std::holds_alternative<std::monostate>(fielding)) {
    return tool.process(image, item.region, size);
  }
  try {
    return tool.process(image, item.region, size, fielding);
  } catch (const Orbalt::TelvarWrapper::InvalidArgumentException&) {
    return {};
  }
}

Json optional_json(const std::optional<double>& value) {
  return value ? Json(*value) : Json(nullptr);
}

}  // namespace

std::optional<double> ReaderEvaluation::character_error_rate() const {
  if (characters == 0) return {};
  return static_cast<double>(character_errors) / static_cast<double>(characters);
}

std::optional<double> ReaderEvaluation::exact_line_rate() const {
  if (lines + stray_lines == 0) return {};
  return static_cast<double>(exact_lines) / static_cast<double>(lines + stray_lines);
}

ReaderEvaluation evaluate(ReaderTool& tool, const OcrData& data, const NominalSize& size,
                          Progress& progress, const Fielding& fielding) {
  ReaderEvaluation evaluation;
  Counter counter(tool, data, size, evaluation);
  progress.start("evaluating", data.items.size());
  for (std::size_t i = 0; i < data.items.size(); ++i) {
    const auto& item = data.items[i];
    const auto image = read_image(item.file);
    // The first call builds the model, which is not what an image costs.
    if (i == 0) tool.process(image, item.region, size);
    evaluation.readings.push_back(
        evaluation.timing.measure([&] { return read(tool, image, item, size, fielding); }));
    counter.count(i, evaluation.readings.back());
    progress.step();
  }
  progress.finish();
  std::stable_sort(evaluation.mistakes.begin(), evaluation.mistakes.end(),
                   [](const auto& a, const auto& b) { return a.errors > b.errors; });
  return evaluation;
}

std::vector<std::pair<double, double>> reject_curve(const ReaderEvaluation& evaluation) {
  std::vector<std::size_t> order(evaluation.readings.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  // Where nothing was read, nothing is certain.
  const auto score = [&](std::size_t item) {
    const Reading& reading = evaluation.readings[item];
    return reading.characters.empty() ? 0 : reading.lowest_score;
  };
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return score(a) < score(b); });
  std::size_t characters = evaluation.characters, errors = evaluation.character_errors;
  std::vector<std::pair<double, double>> curve;
  for (std::size_t i = 0; i < order.size() && characters > 0; ++i) {
    if (i == 0 || score(order[i]) > score(order[i - 1])) {
      curve.emplace_back(static_cast<double>(i) / static_cast<double>(order.size()),
                         static_cast<double>(errors) / static_cast<double>(characters));
    }
    characters -= evaluation.item_characters[order[i]];
    errors -= evaluation.item_errors[order[i]];
  }
  return curve;
}

Json json_of(const ReaderEvaluation& evaluation, const OcrData& data) {
  Json json;
  json["character_error_rate"] = optional_json(evaluation.character_error_rate());
  json["exact_line_rate"] = optional_json(evaluation.exact_line_rate());
  json["counts"] = {{"images", evaluation.images},
                    {"characters", evaluation.characters},
                    {"character_errors", evaluation.character_errors},
                    {"lines", evaluation.lines},
                    {"exact_lines", evaluation.exact_lines},
                    {"stray_lines", evaluation.stray_lines}};
  json["milliseconds_median"] = evaluation.timing.quantile(0.5);
  json["milliseconds_p95"] = evaluation.timing.quantile(0.95);
  json["reject_curve"] = reject_curve(evaluation);
  json["mistakes"] = Json::array();
  for (const auto& mistake : evaluation.mistakes) {
    json["mistakes"].push_back({{"file", data.items[mistake.item].id},
                                {"expected", mistake.expected},
                                {"read", mistake.read},
                                {"errors", mistake.errors}});
  }
  return json;
}

}  // namespace telvar_host

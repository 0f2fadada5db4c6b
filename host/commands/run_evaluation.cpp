#include "commands/run_evaluation.h"

#include <algorithm>
#include <set>

#include "app/errors.h"
#include "app/text.h"
#include "files/state_about.h"
#include "report/sections.h"
#include "tools/readable.h"

namespace telvar_host {
namespace {

std::string timing_text(const Timing& timing) {
  return "milliseconds per image: median " + fixed(timing.quantile(0.5), 1) + ", 95th percentile " +
         fixed(timing.quantile(0.95), 1) + "\n";
}

std::string percent(const std::optional<double>& share) {
  return share ? fixed(100 * *share, 2) + " %" : "unknown";
}

constexpr std::size_t kShownMistakes = 5;

// The first few mistakes, of which `describe` makes a line each, and where the rest is.
template <typename Mistake, typename Describe>
std::string worst_of(const std::vector<Mistake>& mistakes, const Describe& describe) {
  if (mistakes.empty()) return "";
  const std::size_t shown = std::min(kShownMistakes, mistakes.size());
  std::string text = "worst:\n";
  for (std::size_t i = 0; i < shown; ++i) text += "  " + describe(mistakes[i]) + "\n";
  if (mistakes.size() == shown) return text;
  return text + "  and " + std::to_string(mistakes.size() - shown) + " more (--json lists all)\n";
}

std::string quoted_or_nothing(const std::string& text) {
  return text.empty() ? "nothing" : "'" + padded(text, 0) + "'";
}

// The categories of the data that the state says it does not know.
template <typename Categories>
void add_unknown(const StateFile& state, const Categories& categories, EvaluationRun& run) {
  const auto known = about_of(state, "the state").categories;
  if (!known) return;
  auto unknown = Json::array();
  std::string text;
  for (const std::string& category : categories) {
    if (std::binary_search(known->begin(), known->end(), category)) continue;
    unknown.push_back(category);
    text += " " + padded(category, 0);
  }
  run.json["unknown_categories"] = unknown;
  if (!unknown.empty()) run.text += "unknown to the state:" + text + "\n";
}

EvaluationRun evaluate_classifier(Session& session, const StateFile& state,
                                  const std::filesystem::path& source, bool with_report) {
  Problems problems;
  const auto data = read_classifier_data(source, Purpose::kEvaluate, problems);
  problems.throw_if_any();
  ClassifierTool tool(session, state);
  const auto evaluation = naming_all_unreadable(
      data, session.progress, "", [&] { return evaluate(tool, data, session.progress); });
  EvaluationRun run;
  run.json = json_of(evaluation);
  run.text = "accuracy " + percent(evaluation.accuracy()) + ", " +
             std::to_string(evaluation.mistakes.size()) + " of " +
             std::to_string(evaluation.images) + " wrong\n" + timing_text(evaluation.timing) +
             worst_of(evaluation.mistakes, [](const ClassifierMistake& mistake) {
               return utf8(mistake.item.file) + ": '" + padded(mistake.item.category, 0) +
                      "' taken for '" + padded(mistake.answer, 0) + "', score " +
                      fixed(mistake.score, 3);
             });
  std::set<std::string> categories;
  for (const auto& item : data.items) categories.insert(item.category);
  add_unknown(state, categories, run);
  if (with_report) run.section = section_of(evaluation);
  return run;
}

EvaluationRun evaluate_segmenter(Session& session, const StateFile& state,
                                 const std::filesystem::path& source, bool with_report) {
  Problems problems;
  const auto data = read_segmenter_data(source, Purpose::kEvaluate, problems);
  problems.throw_if_any();
  SegmenterTool tool(session, state);
  const auto evaluation = naming_all_unreadable(data, session.progress, "", [&] {
    return evaluate(tool, data, session.progress, with_report);
  });
  EvaluationRun run;
  run.json = json_of(evaluation);
  const auto mean = evaluation.mean_iou();
  run.text = "mean IoU " + (mean ? fixed(*mean, 4) : "unknown") + " over " +
             counted(evaluation.images, "image") + "\n";
  for (const auto& [category, overlap] : evaluation.overlap) {
    const auto iou = overlap.iou();
    run.text +=
        "  " + padded(category, 24) + " " + (iou ? fixed(*iou, 4) : "occurs nowhere") + "\n";
  }
  run.text += timing_text(evaluation.timing) +
              worst_of(evaluation.mistakes, [](const SegmenterMistake& mistake) {
                return utf8(mistake.item.file) + ": mean IoU " + fixed(mistake.mean_iou, 4);
              });
  add_unknown(state, data.categories, run);
  if (with_report) run.section = section_of(evaluation);
  return run;
}

NominalSize reading_size(const std::optional<NominalSize>& given, const StateFile& state,
                         const OcrData& data) {
  if (given) return *given;
  if (state.size.is_set()) return state.size;
  if (data.size.is_set()) return data.size;
  throw usage_error("neither the state nor the labels name a character size; give --size WxH");
}

EvaluationRun evaluate_reader(Session& session, const StateFile& state,
                              const std::filesystem::path& source,
                              const std::optional<NominalSize>& given, bool with_report,
                              const Fielding& fielding) {
  Problems problems;
  const auto data = read_ocr_data(source, Purpose::kEvaluate, problems);
  problems.throw_if_any();
  const auto size = reading_size(given, state, data);
  ReaderTool tool(session, state);
  const auto evaluation = naming_all_unreadable(data, session.progress, "", [&] {
    return evaluate(tool, data, size, session.progress, fielding);
  });
  EvaluationRun run;
  run.json = json_of(evaluation, data);
  run.text = "character error rate " + percent(evaluation.character_error_rate()) + " of " +
             std::to_string(evaluation.characters) + " characters\nlines read exactly " +
             percent(evaluation.exact_line_rate()) + " of " + std::to_string(evaluation.lines) +
             " lines (" + std::to_string(evaluation.stray_lines) + " stray)\n" +
             timing_text(evaluation.timing) +
             worst_of(evaluation.mistakes, [&](const ReaderMistake& mistake) {
               return utf8(data.items[mistake.item].file) + ": " +
                      quoted_or_nothing(mistake.expected) + " read as " +
                      quoted_or_nothing(mistake.read);
             });
  std::set<std::string> categories;
  for (const auto& item : data.items) {
    for (const auto& mark : item.characters) categories.insert(mark.category);
  }
  add_unknown(state, categories, run);
  if (with_report) run.section = section_of(evaluation, data, size);
  return run;
}

}  // namespace

EvaluationRun run_evaluation(Session& session, const StateFile& state,
                             const std::filesystem::path& data,
                             const std::optional<NominalSize>& size, bool with_report,
                             const Fielding& fielding) {
  switch (state.tool) {
    case ToolKind::kOcr:
      return evaluate_reader(session, state, data, size, with_report, fielding);
    case ToolKind::kClassifier:
      return evaluate_classifier(session, state, data, with_report);
    case ToolKind::kSegmenter:
      break;
  }
  return evaluate_segmenter(session, state, data, with_report);
}

}  // namespace telvar_host

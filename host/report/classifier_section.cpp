#include <algorithm>
#include <set>

#include "app/text.h"
#include "images/read_image.h"
#include "images/resize.h"
#include "report/charts.h"
#include "report/sections.h"

namespace telvar_host {
namespace {

std::string percent(double share) {
  return fixed(100 * share, 1) + " %";
}

std::vector<std::string> names_in(const ClassifierEvaluation& evaluation) {
  std::set<std::string> names;
  for (const auto& [truth, answers] : evaluation.confusion) {
    names.insert(truth);
    for (const auto& answer : answers) names.insert(answer.first);
  }
  return {names.begin(), names.end()};
}

std::size_t cell(const ClassifierEvaluation& evaluation, const std::string& truth,
                 const std::string& answer) {
  const auto row = evaluation.confusion.find(truth);
  if (row == evaluation.confusion.end()) return 0;
  const auto found = row->second.find(answer);
  return found == row->second.end() ? 0 : found->second;
}

std::string matrix_row(const ClassifierEvaluation& evaluation, const std::string& truth,
                       const std::vector<std::string>& names) {
  std::size_t sum = 0;
  for (const auto& name : names) sum += cell(evaluation, truth, name);
  std::string html = "<tr><th>" + html_escaped(truth) + "</th>";
  for (const auto& name : names) {
    const auto count = cell(evaluation, truth, name);
    const double share = sum == 0 ? 0 : static_cast<double>(count) / static_cast<double>(sum);
    const std::string css = std::string(name == truth ? "right " : "") + (count == 0 ? "zero" : "");
    html += "<td class=\"" + css + "\" style=\"background:rgba(var(--heat)," +
            fixed(0.75 * share, 3) + ")\">" + std::to_string(count) + "</td>";
  }
  const double recall =
      sum == 0 ? 0 : static_cast<double>(cell(evaluation, truth, truth)) / static_cast<double>(sum);
  return html + "<td>" + (sum == 0 ? std::string("-") : fixed(100 * recall, 0) + " %") +
         "</td></tr>\n";
}

std::string matrix_html(const ClassifierEvaluation& evaluation) {
  const auto names = names_in(evaluation);
  std::string html =
      "<h3>Confusion matrix</h3><p class=\"lead\">Rows: what it is. Columns: the answer.</p>"
      "<div class=\"scroll\"><table class=\"matrix\"><tr><th></th>";
  for (const auto& name : names)
    html += "<th class=\"turned\"><span>" + html_escaped(name) + "</span></th>";
  html += "<th class=\"turned\"><span>right</span></th></tr>\n";
  for (const auto& name : names) html += matrix_row(evaluation, name, names);
  return html + "</table></div>\n";
}

std::string coverage_html(const ClassifierEvaluation& evaluation) {
  const auto curve = evaluation.accuracy_by_coverage();
  return "<h3>Accuracy when only the surest answers count</h3>" +
         curve_html(curve, {"share of the images answered", 0, 1, 1},
                    {"accuracy", lower_bound_for(curve), 1, 2});
}

// How many images of unknown categories a least score would let through.
std::string foreign_html(const ClassifierEvaluation& evaluation) {
  const auto curve = evaluation.foreign_curve();
  if (curve.size() < 2) return "";  // none, or all right answers have one score
  return "<h3>Images of categories that it does not know</h3>" +
         curve_html(curve, {"share of the right answers that reach a least score", 0, 1, 1},
                    {"share of these images that do", 0, 1, 2});
}

std::string mistakes_html(const ClassifierEvaluation& evaluation) {
  if (evaluation.mistakes.empty()) return "<p class=\"good\">Every image was answered right.</p>";
  std::string cards = "<div class=\"cards\">";
  for (const auto& mistake : evaluation.mistakes) {
    cards += card_html(shrunk(displayable(read_image(mistake.item.file)), 160),
                       isolated(mistake.answer) + " " + percent(mistake.score),
                       "is " + isolated(mistake.item.category), mistake.item.id, "bad");
  }
  return details_html(
      "Every wrong answer (" + std::to_string(evaluation.mistakes.size()) + "), the surest first",
      cards + "</div>", true);
}

}  // namespace

Section section_of(const ClassifierEvaluation& evaluation) {
  Section section{"classifier", "Classifier", "", {}, ""};
  section.figures = {{percent(evaluation.accuracy()), "accuracy"},
                     {std::to_string(evaluation.images), "images"},
                     {std::to_string(evaluation.mistakes.size()), "wrong answers"},
                     {fixed(evaluation.timing.quantile(0.5), 1) + " ms", "per image, median"},
                     {fixed(evaluation.timing.quantile(0.95), 1) + " ms", "95th percentile"}};
  section.body = "<div class=\"columns\"><div>" + matrix_html(evaluation) + "</div><div>" +
                 coverage_html(evaluation) + foreign_html(evaluation) + "</div></div>" +
                 mistakes_html(evaluation);
  return section;
}

}  // namespace telvar_host

#include <CLI/CLI.hpp>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "datasets/audit.h"
#include "files/state_about.h"

namespace telvar_host {
namespace {

struct Options {
  std::string tool;
  std::string data;
  std::string from;
};

Audit audit(ToolKind tool, const std::filesystem::path& data, const Categories& known,
            Progress& progress) {
  switch (tool) {
    case ToolKind::kOcr:
      return audit_ocr(data, known, progress);
    case ToolKind::kClassifier:
      return audit_classifier(data, known, progress);
    case ToolKind::kSegmenter:
      break;
  }
  return audit_segmenter(data, known, progress);
}

std::string lines_of(const Problems& problems) {
  std::string text;
  for (const auto& problem : problems.list())
    text += "  " + problem.path + ": " + problem.why + "\n";
  return text;
}

std::string text_of(const Audit& found) {
  std::string text = counted(found.images, "image") + "\n";
  for (const auto& [category, count] : found.counts) {
    text += "  " + padded(category, 24) + " " + std::to_string(count) + "\n";
  }
  const auto& problems = found.problems;
  text +=
      problems.empty() ? "no problems found\n" : counted(problems.list().size(), "problem") + ":\n";
  text += lines_of(problems);
  if (!found.advice.empty()) text += "more labels would help:\n" + lines_of(found.advice);
  if (!found.unused.empty()) text += "not used:\n" + lines_of(found.unused);
  return text;
}

Json json_of(const Problems& problems) {
  auto list = Json::array();
  for (const auto& problem : problems.list()) {
    list.push_back({{"path", problem.path}, {"kind", problem.kind}, {"why", problem.why}});
  }
  return list;
}

// Nothing without --from.
std::optional<Categories> known_categories(const Options& options, Session& session) {
  if (options.from.empty()) return {};
  const auto state = read_state(path_from_utf8(options.from));
  require_tool(state, tool_named(options.tool), options.from);
  const auto categories = about_of(state, options.from).categories;
  if (!categories) {
    session.progress.note(options.from + ": does not say which categories it knows");
    return {};
  }
  return Categories(categories->begin(), categories->end());
}

void add_new_categories(const Audit& found, const Categories& known, Outcome& outcome) {
  auto fresh = Json::array();
  std::string text;
  for (const auto& count : found.counts) {
    if (known.count(count.first) != 0) continue;
    fresh.push_back(count.first);
    text += "  " + padded(count.first, 24) + "\n";
  }
  outcome.json["new_categories"] = fresh;
  if (!fresh.empty()) outcome.text += "new to the state:\n" + text;
}

Outcome check(const Options& options, Session& session) {
  const auto known = known_categories(options, session);
  const auto found = audit(tool_named(options.tool), path_from_utf8(options.data),
                           known.value_or(Categories()), session.progress);
  session.progress.finish();
  Outcome outcome;
  outcome.json["tool"] = options.tool;
  outcome.json["data"] = options.data;
  outcome.json["ok"] = found.problems.empty();
  outcome.json["images"] = found.images;
  outcome.json["counts"] = found.counts;
  outcome.json["problems"] = json_of(found.problems);
  outcome.json["advice"] = json_of(found.advice);
  outcome.json["unused"] = json_of(found.unused);
  outcome.text = text_of(found);
  if (known) add_new_categories(found, *known, outcome);
  outcome.code = found.problems.empty() ? ExitCode::kOk : ExitCode::kBadData;
  return outcome;
}

}  // namespace

void add_check(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("check",
                                 "Look at every file of a data set and list what is wrong with it");
  add_tool_option(*sub, options->tool);
  sub->add_option("--data", options->data, "The data set (docs/datasets.md)")->required();
  sub->add_option("--from", options->from,
                  "A state that the training is to go on from: what it knows is no problem, and "
                  "what is new to it is listed");
  sub->footer("Example:\n  telvar check --tool classifier --data parts/");
  sub->callback([&command, options] {
    command = [options](Session& session) { return check(*options, session); };
  });
}

}  // namespace telvar_host

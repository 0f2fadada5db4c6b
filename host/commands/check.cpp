#include <CLI/CLI.hpp>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "datasets/audit.h"

namespace telvar_host {
namespace {

struct Options {
  std::string tool;
  std::string data;
};

Audit audit(ToolKind tool, const std::filesystem::path& data, Progress& progress) {
  switch (tool) {
    case ToolKind::kOcr:
      return audit_ocr(data, progress);
    case ToolKind::kClassifier:
      return audit_classifier(data, progress);
    case ToolKind::kSegmenter:
      break;
  }
  return audit_segmenter(data, progress);
}

std::string lines_of(const Problems& problems) {
  std::string text;
  for (const auto& problem : problems.list())
    text += "  " + problem.path + ": " + problem.why + "\n";
  return text;
}

std::string text_of(const Audit& found) {
  std::string text = counted(found.images, "picture") + "\n";
  for (const auto& [category, count] : found.counts) {
    text += "  " + padded(category, 24) + " " + std::to_string(count) + "\n";
  }
  const auto& problems = found.problems;
  text +=
      problems.empty() ? "no problems found\n" : counted(problems.list().size(), "problem") + ":\n";
  text += lines_of(problems);
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

Outcome check(const Options& options, Session& session) {
  const auto found =
      audit(tool_named(options.tool), path_from_utf8(options.data), session.progress);
  session.progress.finish();
  Outcome outcome;
  outcome.json["tool"] = options.tool;
  outcome.json["data"] = options.data;
  outcome.json["ok"] = found.problems.empty();
  outcome.json["images"] = found.images;
  outcome.json["counts"] = found.counts;
  outcome.json["problems"] = json_of(found.problems);
  outcome.json["unused"] = json_of(found.unused);
  outcome.text = text_of(found);
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
  sub->footer("Example:\n  telvar check --tool classifier --data parts/");
  sub->callback([&command, options] {
    command = [options](Session& session) { return check(*options, session); };
  });
}

}  // namespace telvar_host

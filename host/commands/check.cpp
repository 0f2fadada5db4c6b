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

std::string text_of(const Audit& found) {
  std::string text = std::to_string(found.images) + " pictures\n";
  for (const auto& [category, count] : found.counts) {
    text += "  " + padded(category, 24) + " " + std::to_string(count) + "\n";
  }
  if (found.problems.empty()) return text + "no problems found\n";
  text += std::to_string(found.problems.list().size()) + " problems:\n";
  for (const auto& problem : found.problems.list())
    text += "  " + problem.path + ": " + problem.why + "\n";
  return text;
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
  outcome.json["problems"] = Json::array();
  for (const auto& problem : found.problems.list()) {
    outcome.json["problems"].push_back(
        {{"path", problem.path}, {"kind", problem.kind}, {"why", problem.why}});
  }
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

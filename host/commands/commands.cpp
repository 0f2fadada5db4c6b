#include "commands/commands.h"

#include <CLI/CLI.hpp>

namespace telvar_host {

void add_commands(CLI::App& app, Command& command) {
  add_check(app, command);
  add_train(app, command);
  add_process(app, command);
  add_batch(app, command);
  add_merge(app, command);
  add_evaluate(app, command);
  add_inspect(app, command);
  add_sort(app, command);
  add_convert(app, command);
  add_label(app, command);
  add_demo(app, command);
}

CLI::Option* add_tool_option(CLI::App& app, std::string& name) {
  return app.add_option("--tool", name, "ocr, classifier or segmenter")
      ->required()
      ->check(CLI::IsMember({"ocr", "classifier", "segmenter"}));
}

ToolKind tool_named(const std::string& name) {
  if (name == "ocr") return ToolKind::kOcr;
  return name == "classifier" ? ToolKind::kClassifier : ToolKind::kSegmenter;
}

void require_tool(const StateFile& state, ToolKind tool, const std::string& from) {
  if (state.tool == tool) return;
  throw usage_error("--from " + from + ": is a state of the tool " + tool_name(state.tool) +
                    ", not of " + tool_name(tool));
}

void refuse_option(bool given, const std::string& option, ToolKind tool) {
  if (given) throw usage_error(option + " does not apply to the tool " + tool_name(tool));
}

}  // namespace telvar_host

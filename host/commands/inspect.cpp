#include <CLI/CLI.hpp>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "files/state_file.h"

namespace telvar_host {
namespace {

Outcome inspect(const std::string& file) {
  const auto state = read_state(path_from_utf8(file));
  Outcome outcome;
  auto& json = outcome.json;
  json["state"] = file;
  json["tool"] = tool_name(state.tool);
  json["format_version"] = 1;
  json["bytes"] = serialised_size(state);
  if (state.tool == ToolKind::kOcr) json["size"] = {state.size.width, state.size.height};
  json["artifact_bytes"] = state.artifact.size();
  json["train_cache_bytes"] = state.train_cache.size();
  json["checksums"] = "ok";
  outcome.text = file + "\n  tool         " + tool_name(state.tool) + "\n";
  if (state.tool == ToolKind::kOcr) {
    outcome.text += "  size         " + fixed(state.size.width, 1) + " x " +
                    fixed(state.size.height, 1) + " px\n";
  }
  outcome.text += "  artifact     " + std::to_string(state.artifact.size()) +
                  " bytes\n  train cache  " + std::to_string(state.train_cache.size()) +
                  " bytes\n  checksums    ok\n";
  return outcome;
}

}  // namespace

void add_inspect(CLI::App& app, Command& command) {
  auto file = std::make_shared<std::string>();
  auto* sub = app.add_subcommand("inspect", "Say what a state file holds, and whether it is whole");
  sub->add_option("--state", *file, "The state file")->required();
  sub->footer("Example:\n  telvar inspect --state reader.telvar");
  sub->callback([&command, file] { command = [file](Session&) { return inspect(*file); }; });
}

}  // namespace telvar_host

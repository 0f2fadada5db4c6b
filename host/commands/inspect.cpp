#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "files/output.h"
#include "files/state_about.h"
#include "tools/training.h"

namespace telvar_host {
namespace {

struct Options {
  std::string state;
  std::string extract;
  bool force = false;
};

void add_categories(const StateAbout& about, Outcome& outcome) {
  outcome.text += "  categories   ";
  if (!about.categories) {
    outcome.json["categories"] = nullptr;
    outcome.text += "unknown: the file does not say\n";
    return;
  }
  outcome.json["categories"] = *about.categories;
  outcome.text += std::to_string(about.categories->size()) + ":";
  for (const auto& category : *about.categories) outcome.text += " " + padded(category, 0);
  outcome.text += "\n";
}

void add_trainings(ToolKind tool, const StateAbout& about, Outcome& outcome) {
  outcome.json["trainings"] = Json::array();
  for (const auto& training : about.trainings) {
    outcome.json["trainings"].push_back(json_of(training));
    outcome.text += "  trained      " + training.time + " on " + counted(training.images, "image") +
                    " in " + fixed(training.seconds, 1) + " s (telvar " + training.program +
                    ")\n               score " + fixed(100 * std::abs(training.score), 1) +
                    " %: " + measured_on(tool, training.score) + "\n";
  }
}

Outcome inspect(const Options& options) {
  const auto state = read_state(path_from_utf8(options.state));
  const auto about = about_of(state, options.state);
  Outcome outcome;
  auto& json = outcome.json;
  json["state"] = options.state;
  json["tool"] = tool_name(state.tool);
  json["format_version"] = state.about.empty() ? 1 : 2;
  json["bytes"] = serialised_size(state);
  if (state.tool == ToolKind::kOcr) json["size"] = {state.size.width, state.size.height};
  json["artifact_bytes"] = state.artifact.size();
  json["train_cache_bytes"] = state.train_cache.size();
  json["checksums"] = "ok";
  outcome.text = options.state + "\n  tool         " + tool_name(state.tool) + "\n";
  if (state.tool == ToolKind::kOcr) {
    outcome.text += "  size         " + fixed(state.size.width, 1) + " x " +
                    fixed(state.size.height, 1) + " px\n";
  }
  add_categories(about, outcome);
  add_trainings(state.tool, about, outcome);
  outcome.text += "  artifact     " + std::to_string(state.artifact.size()) +
                  " bytes\n  train cache  " + std::to_string(state.train_cache.size()) +
                  " bytes\n  checksums    ok\n";
  if (!options.extract.empty()) {
    write_file(path_from_utf8(options.extract), state.artifact, options.force);
    json["extracted"] = options.extract;
    outcome.text += "artifact in " + options.extract + "\n";
  }
  return outcome;
}

}  // namespace

void add_inspect(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand(
      "inspect", "Say what a state file holds, what it was trained on, and whether it is whole");
  sub->add_option("--state", options->state, "The state file")->required();
  auto* extract =
      sub->add_option("--extract", options->extract,
                      "Write the artifact alone, as the library takes it, to this file");
  sub->add_flag("--force", options->force, "Replace that file if it exists")->needs(extract);
  sub->footer("Example:\n  telvar inspect --state reader.telvar");
  sub->callback(
      [&command, options] { command = [options](Session&) { return inspect(*options); }; });
}

}  // namespace telvar_host

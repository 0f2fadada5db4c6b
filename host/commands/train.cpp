#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "datasets/ocr_data.h"
#include "files/output.h"
#include "tools/training.h"

namespace telvar_host {
namespace {

struct Options {
  std::string tool;
  std::string data;
  std::string state;
  std::string from;
  std::string size;
  bool skip_bad = false;
  bool force = false;
};

StateFile starting_state(const Options& options, ToolKind tool) {
  StateFile state;
  state.tool = tool;
  if (options.from.empty()) return state;
  state = read_state(path_from_utf8(options.from));
  require_tool(state, tool, options.from);
  return state;
}

// States of first trainings take some MiB; later ones hold more images, but not twice as many.
std::uint64_t room_for_state(const StateFile& from) {
  constexpr std::uint64_t kFirst = 32 << 20;
  return std::max<std::uint64_t>(kFirst, 2 * (from.artifact.size() + from.train_cache.size()));
}

Outcome outcome_of(const TrainingRun& run, const Options& options) {
  Outcome outcome;
  auto& json = outcome.json;
  json["tool"] = options.tool;
  json["state"] = options.state;
  json["images"] = run.images;
  json["counts"] = run.counts;
  json["skipped"] = run.skipped;
  json["score"] = std::abs(run.score);
  json["held_out"] = run.score >= 0;
  json["score_measures"] = measured_on(run.state.tool, run.score);
  json["seconds"] = run.seconds;
  if (run.state.tool == ToolKind::kOcr)
    json["size"] = {run.state.size.width, run.state.size.height};
  json["artifact_bytes"] = run.state.artifact.size();
  json["train_cache_bytes"] = run.state.train_cache.size();
  outcome.text = "trained " + options.tool + " on " + counted(run.images, "image") + ", " +
                 counted(run.counts.size(), "category", "categories") + ", in " +
                 fixed(run.seconds, 1) + " s\nscore " + fixed(100 * std::abs(run.score), 1) +
                 " %: " + measured_on(run.state.tool, run.score) + "\nstate in " + options.state +
                 "\n";
  return outcome;
}

Outcome train(const Options& options, Session& session) {
  const auto tool = tool_named(options.tool);
  refuse_option(!options.size.empty() && tool != ToolKind::kOcr, "--size", tool);
  TrainingSettings settings;
  if (!options.size.empty()) settings.size = parse_size(options.size);
  settings.skip_bad = options.skip_bad;
  const auto target = path_from_utf8(options.state);
  require_writable_file(target, options.force);
  const auto from = starting_state(options, tool);
  auto space = std::make_unique<ReservedSpace>(target, room_for_state(from));
  const auto run = run_training(session, path_from_utf8(options.data), from, settings);
  space.reset();
  for (const auto& reason : run.skipped) session.progress.note("skipped: " + reason);
  write_state_or_keep(target, run.state, options.force);
  return outcome_of(run, options);
}

}  // namespace

void add_train(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("train", "Train a tool from a data set and store its state");
  add_tool_option(*sub, options->tool);
  sub->add_option("--data", options->data, "The data set (docs/datasets.md)")->required();
  sub->add_option("--state", options->state, "Where the state goes")->required();
  sub->add_option("--from", options->from, "Go on from this state instead of from nothing");
  sub->add_option("--size", options->size,
                  "ocr: nominal character size WxH in region pixels, that of a usual character; "
                  "otherwise that of the labels, of --from, or the median of the labels' boxes");
  sub->add_flag("--skip-bad", options->skip_bad, "Leave out images and masks that cannot be read");
  sub->add_flag("--force", options->force, "Replace the state file if it exists");
  sub->footer(
      "Example:\n  telvar train --tool ocr --data labels/ --state reader.telvar --size 18x24");
  sub->callback([&command, options] {
    command = [options](Session& session) { return train(*options, session); };
  });
}

}  // namespace telvar_host

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "app/text.h"
#include "commands/batch_record.h"
#include "commands/batch_run.h"
#include "commands/commands.h"
#include "commands/predict_options.h"
#include "datasets/problems.h"
#include "files/input.h"
#include "files/output.h"
#include "predictions/results.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

struct Options {
  PredictOptions predict;
  LabelOptions labels;
  std::string data;
  std::string out;
  std::string shard;
  bool force = false;
};

// Every shard writes a folder of its own, so that shards may run at once and be repeated one by
// one.
fs::path target_of(const Options& options, const Shard& shard) {
  auto out = path_from_utf8(options.out);
  if (options.shard.empty()) return out;
  return out / ("shard-" + std::to_string(shard.index) + "-of-" + std::to_string(shard.count));
}

Outcome outcome_of(const Json& results, const fs::path& target) {
  Outcome outcome;
  const std::size_t images = results["images"].size();
  const auto failed = failures_in(results["images"].get<std::vector<Json>>());
  outcome.json["tool"] = results["tool"];
  outcome.json["out"] = utf8(target);
  outcome.json["images"] = images;
  outcome.json["failed"] = failed;
  if (results["run"]["shard"][1] > 1) outcome.json["shard"] = results["run"]["shard"];
  for (const char* key : {"doubtful", "labels"}) {
    if (results.contains(key)) outcome.json[key] = results[key];
  }
  outcome.text = std::to_string(images - failed) + " of " + counted(images, "image") +
                 " processed; results in " + utf8(target) + "\n";
  outcome.code = failed == 0 ? ExitCode::kOk : ExitCode::kBadData;
  return outcome;
}

// The results of the same run, where it was done already.
Json finished_before(const fs::path& target, const Json& record) {
  std::error_code lost;
  if (!fs::is_regular_file(target / "results.json", lost)) return {};
  auto results = Json::parse(read_file(target / "results.json"), nullptr, false);
  if (!results.is_object() || results.value("run", Json()) != record) return {};
  return results;
}

Json results_json(ToolKind tool, const Json& record, std::vector<Json> images) {
  Json results = {{"tool", tool_name(tool)}, {"run", record}, {"images", Json::array()}};
  for (auto& image : images) results["images"].push_back(std::move(image));
  return results;
}

// A mask lies in its final place already when an earlier run ended while it made them visible.
std::string read_mask(const OutputFolder& out, const std::string& name) {
  const auto staged = out.staging() / path_from_utf8(name);
  std::error_code lost;
  return read_file(fs::exists(staged, lost) ? staged : out.target() / path_from_utf8(name));
}

LabelsWritten write_labels(const Options& options, const StateFile& state,
                           const PredictorSettings& settings,
                           const std::vector<ListedImage>& images, const std::vector<Json>& entries,
                           OutputFolder& out) {
  std::vector<PredictedImage> predicted;
  for (std::size_t i = 0; i < images.size(); ++i) predicted.push_back({images[i].file, entries[i]});
  return write_asked_labels(
      predicted, options.labels, {state.tool, {}, settings.region, settings.size},
      [&](const std::string& name) { return read_mask(out, name); }, &out);
}

std::vector<ListedImage> images_of_shard(std::vector<ListedImage> images, const Shard& shard) {
  images.erase(std::remove_if(images.begin(), images.end(),
                              [&](const auto& image) { return !has_image(shard, image.id); }),
               images.end());
  return images;
}

Outcome batch(const Options& options, Session& session) {
  const auto shard = parse_shard(options.shard);
  const auto state = read_state(path_from_utf8(options.predict.state));
  const auto settings = predictor_settings(options.predict, state);
  require_label_format(options.labels, state.tool);
  const auto all = images_in(path_from_utf8(options.data));
  const auto record = batch_record(state, options.predict, options.labels, all, shard);
  const auto images = images_of_shard(all, shard);
  const auto target = target_of(options, shard);
  if (!options.force) {
    const auto before = finished_before(target, record);
    if (!before.is_null()) {
      session.progress.note("done before with the same state and inputs");
      return outcome_of(before, fs::absolute(target).lexically_normal());
    }
  }
  OutputFolder out(target, options.force, Unfinished::kKept);
  KeptResults kept(out, record, options.force);
  const auto entries = run_batch(session, state, settings, images, kept, out);
  const auto labels = write_labels(options, state, settings, images, entries, out);
  auto results = results_json(state.tool, record, entries);
  results.update(labels.json);
  out.write("results.csv", results_csv(state.tool, entries));
  out.write("results.json", dumped(results) + "\n");
  out.commit();
  auto outcome = outcome_of(results, out.target());
  outcome.text += labels.text;
  return outcome;
}

}  // namespace

void add_batch(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("batch", "Use a trained tool on a whole folder");
  add_predict_options(*sub, options->predict);
  sub->add_option("--data", options->data, "A folder of images, or a data set")->required();
  auto* out = sub->add_option("--out", options->out,
                              "Folder for results.csv, results.json, masks and labels")
                  ->required();
  sub->add_option("--shard", options->shard,
                  "I/N: only the Ith of N parts of the images, into OUT/shard-I-of-N; see merge");
  add_label_options(*sub, options->labels, out);
  sub->add_flag("--force", options->force,
                "Write into --out even if it is not empty, and do again what is done");
  sub->footer(
      "What is done is kept in OUT/unfinished, and the same command goes on there.\n"
      "Example:\n  telvar batch --state parts.telvar --data today/ --out results/ --shard 3/16");
  sub->callback([&command, options] {
    command = [options](Session& session) { return batch(*options, session); };
  });
}

}  // namespace telvar_host

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "app/text.h"
#include "commands/batch_run.h"
#include "commands/commands.h"
#include "datasets/layout.h"
#include "files/output.h"
#include "files/state_file.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

struct Options {
  std::string state;
  std::string data;
  std::string out;
  std::string shard;
  bool force = false;
};

struct Shard {
  std::size_t index = 1;  // from 1
  std::size_t count = 1;
};

Shard parse_shard(const std::string& text) {
  if (text.empty()) return {};
  const auto parts = split(text, '/');
  const auto index = parts.size() == 2 ? parse_number(parts[0]) : std::nullopt;
  const auto count = parts.size() == 2 ? parse_number(parts[1]) : std::nullopt;
  const auto whole = [](double value) {
    return value == static_cast<double>(static_cast<long>(value));
  };
  if (!index || !count || *index < 1 || *count < *index || *count > 1e6 || !whole(*index) ||
      !whole(*count)) {
    throw usage_error("--shard " + text + ": expected I/N with whole numbers 1 <= I <= N");
  }
  return {static_cast<std::size_t>(*index), static_cast<std::size_t>(*count)};
}

// Of a segmenter's data set, or a part of it, only images/, not the masks.
std::vector<fs::path> picture_folders(const fs::path& folder) {
  std::vector<fs::path> folders;
  for (const auto& part : parts_for(folder, Purpose::kAll)) {
    if (!is_folder(part.folder / "images") || !is_folder(part.folder / "masks")) return {folder};
    folders.push_back(part.folder / "images");
  }
  return folders;
}

std::vector<BatchItem> items_in(const fs::path& folder, const Shard& shard) {
  require_folder(folder);
  Problems problems;
  std::vector<fs::path> files;
  for (const auto& below : picture_folders(folder)) {
    const auto pictures = pictures_below(below, problems);
    files.insert(files.end(), pictures.begin(), pictures.end());
  }
  problems.throw_if_any();
  std::sort(files.begin(), files.end());
  if (files.empty()) throw data_error(utf8(folder) + ": holds no pictures");
  std::vector<BatchItem> items;
  for (std::size_t i = shard.index - 1; i < files.size(); i += shard.count) {
    items.push_back({identifier(files[i], folder), files[i]});
  }
  return items;
}

// Every shard writes a folder of its own, so that shards may run at once and be repeated one by
// one.
fs::path target_of(const Options& options, const Shard& shard) {
  const auto out = path_from_utf8(options.out);
  if (shard.count == 1) return out;
  return out / ("shard-" + std::to_string(shard.index) + "-of-" + std::to_string(shard.count));
}

Outcome batch(const Options& options, Session& session) {
  const auto shard = parse_shard(options.shard);
  const auto state = read_state(path_from_utf8(options.state));
  if (state.tool == ToolKind::kOcr) {
    throw usage_error(
        "batch does not apply to the tool ocr; telvar process reads pictures one by one");
  }
  const auto items = items_in(path_from_utf8(options.data), shard);
  OutputFolder out(target_of(options, shard), options.force);
  const auto run = run_batch(session, state, items, out);
  out.write("results.csv", run.csv);
  out.write("results.json", dumped(run.json) + "\n");
  out.commit();
  Outcome outcome;
  outcome.json["tool"] = tool_name(state.tool);
  outcome.json["out"] = utf8(out.target());
  outcome.json["images"] = items.size();
  outcome.json["failed"] = run.failed;
  if (shard.count > 1) outcome.json["shard"] = {shard.index, shard.count};
  outcome.text = std::to_string(items.size() - run.failed) + " of " + std::to_string(items.size()) +
                 " pictures processed; results in " + utf8(out.target()) + "\n";
  outcome.code = run.failed == 0 ? ExitCode::kOk : ExitCode::kBadData;
  return outcome;
}

}  // namespace

void add_batch(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub =
      app.add_subcommand("batch", "Use a trained classifier or segmenter on a whole folder");
  sub->add_option("--state", options->state, "The trained state")->required();
  sub->add_option("--data", options->data, "A folder of pictures, or a data set")->required();
  sub->add_option("--out", options->out, "Folder for results.csv, results.json and masks")
      ->required();
  sub->add_option("--shard", options->shard,
                  "I/N: only every Nth picture starting at the Ith, into OUT/shard-I-of-N");
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty");
  sub->footer(
      "Example:\n  telvar batch --state parts.telvar --data today/ --out results/ --shard 3/16");
  sub->callback([&command, options] {
    command = [options](Session& session) { return batch(*options, session); };
  });
}

}  // namespace telvar_host

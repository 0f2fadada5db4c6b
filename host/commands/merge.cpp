#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "datasets/json_reader.h"
#include "datasets/layout.h"
#include "datasets/problems.h"
#include "files/input.h"
#include "files/output.h"
#include "predictions/results.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

struct Options {
  std::string out;
  bool force = false;
};

// "shard-I-of-N"
std::optional<std::pair<std::size_t, std::size_t>> shard_in(const fs::path& folder) {
  const auto parts = split(folder.filename().u8string(), '-');
  if (parts.size() != 4 || parts[0] != "shard" || parts[2] != "of") return {};
  const auto index = parse_number(parts[1]), count = parse_number(parts[3]);
  if (!index || !count || *index < 1 || *count < *index) return {};
  return {{static_cast<std::size_t>(*index), static_cast<std::size_t>(*count)}};
}

// The shards' folders by their number. Throws data_error when some are missing or there are those
// of two divisions.
std::map<std::size_t, fs::path> shard_folders(const fs::path& out) {
  require_folder(out);
  std::map<std::size_t, fs::path> folders;
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(out)) {
    const auto shard = shard_in(entry.path());
    if (!shard || !entry.is_directory()) continue;
    if (count != 0 && shard->second != count) {
      throw data_error(utf8(out) + ": holds shards of " + std::to_string(count) + " and of " +
                       std::to_string(shard->second));
    }
    count = shard->second;
    folders[shard->first] = entry.path();
  }
  if (folders.empty()) throw data_error(utf8(out) + ": holds no folder shard-I-of-N");
  std::string missing;
  for (std::size_t i = 1; i <= count; ++i) {
    if (folders.count(i) != 0 && is_file(folders[i] / "results.json")) continue;
    missing += (missing.empty() ? "" : ", ") + std::to_string(i);
  }
  if (!missing.empty()) {
    throw data_error(utf8(out) + ": of " + std::to_string(count) +
                     " shards these are missing or unfinished: " + missing);
  }
  return folders;
}

Json read_results(const fs::path& folder) {
  const auto file = folder / "results.json";
  auto results = Json::parse(read_file(file), nullptr, false);
  const bool whole = results.is_object() && results.contains("tool") && results.contains("run") &&
                     results.contains("images");
  if (!whole) throw data_error(utf8(file) + ": is no file of results");
  return results;
}

void require_alike(const Json& first, const Json& other, const fs::path& folder,
                   const fs::path& first_folder) {
  const auto require = [&](bool alike, const std::string& what) {
    if (alike) return;
    throw data_error(utf8(folder) + ": was made " + what + " than " + utf8(first_folder) +
                     "; run one of them again");
  };
  const auto &a = first["run"], &b = other["run"];
  require(first["tool"] == other["tool"] && a["state"] == b["state"], "with another state");
  require(a["settings"] == b["settings"], "with other settings");
  require(a["listing"] == b["listing"], "from other images (some came, went or changed)");
}

// The files that an entry names lie in the shard's folder.
Json moved(Json entry, const std::string& folder) {
  if (!entry.contains("categories")) return entry;
  for (auto& category : entry["categories"]) {
    if (category.contains("mask")) category["mask"] = folder + category["mask"].get<std::string>();
  }
  return entry;
}

struct Merged {
  Json results;
  std::vector<Json> entries;
};

Merged merged(const std::map<std::size_t, fs::path>& folders) {
  Merged all;
  std::map<std::string, Json> entries;  // sorted as `batch` has them
  for (const auto& [index, folder] : folders) {
    const auto results = read_results(folder);
    if (index == folders.begin()->first) all.results = results;
    require_alike(all.results, results, folder, folders.begin()->second);
    for (const auto& entry : results["images"]) {
      entries[entry["file"].get<std::string>()] = moved(entry, folder.filename().u8string() + "/");
    }
  }
  const std::size_t expected = all.results["run"]["listing"]["images"];
  if (entries.size() != expected) {
    throw data_error(utf8(folders.begin()->second.parent_path()) + ": the shards hold results of " +
                     counted(entries.size(), "image") + " of " + std::to_string(expected));
  }
  for (auto& entry : entries) all.entries.push_back(std::move(entry.second));
  all.results = {{"tool", all.results["tool"]}, {"run", all.results["run"]}};
  all.results["run"].erase("shard");
  all.results["run"].erase("asked");
  all.results["images"] = all.entries;
  return all;
}

Outcome merge(const Options& options) {
  const auto out = path_from_utf8(options.out);
  const auto all = merged(shard_folders(out));
  const auto json = dumped(all.results) + "\n";
  const auto target = out / "results.json";
  const bool done = is_file(target) && read_file(target) == json;
  if (!done) {
    const auto tool = tool_named(all.results["tool"].get<std::string>());
    write_file(out / "results.csv", results_csv(tool, all.entries), options.force);
    write_file(target, json, options.force);
  }
  const auto failed = failures_in(all.entries);
  Outcome outcome;
  outcome.json = {{"tool", all.results["tool"]},
                  {"out", options.out},
                  {"images", all.entries.size()},
                  {"failed", failed}};
  outcome.text = counted(all.entries.size(), "result") + " in " + utf8(target) + ", " +
                 std::to_string(failed) + " of them failed\n";
  outcome.code = failed == 0 ? ExitCode::kOk : ExitCode::kBadData;
  return outcome;
}

}  // namespace

void add_merge(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("merge", "Join the shards of a batch");
  sub->add_option("--out", options->out,
                  "The folder that the shards were written into; gets results.csv and results.json")
      ->required();
  sub->add_flag("--force", options->force, "Replace results that are there");
  sub->footer("Example:\n  telvar merge --out results/");
  sub->callback([&command, options] { command = [options](Session&) { return merge(*options); }; });
}

}  // namespace telvar_host

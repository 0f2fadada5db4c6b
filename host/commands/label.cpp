#include <CLI/CLI.hpp>
#include <memory>
#include <set>

#include "app/interrupt.h"
#include "app/text.h"
#include "commands/commands.h"
#include "datasets/ocr_labels.h"
#include "files/input.h"
#include "files/output.h"
#include "files/platform.h"
#include "images/read_image.h"
#include "metrics/text_metrics.h"
#include "predictions/drawn_characters.h"
#include "predictions/typed_text.h"
#include "tools/loading.h"

namespace telvar_host {
namespace {

struct Options {
  std::string state;
  std::string data;
  std::string size;
  std::string out;
  bool force = false;
};

NominalSize reading_size(const Options& options, const StateFile& state, const OcrData& data) {
  if (!options.size.empty()) return parse_size(options.size);
  if (state.size.is_set()) return state.size;
  if (data.size.is_set()) return data.size;
  throw usage_error((options.state.empty() ? options.data : options.state) +
                    ": holds no character size; give --size WxH");
}

// What was found of the images that needed it.
struct Found {
  std::size_t images = 0;
  std::size_t sure = 0;
  Json doubtful = Json::array();
  std::string text;
};

void report(const OcrItem& item, const PlacedText& placed, Found& found) {
  ++found.images;
  if (placed.is_sure()) {
    ++found.sure;
    return;
  }
  found.doubtful.push_back({{"file", item.id},
                            {"letters", placed.letters},
                            {"placed", placed.characters.size()},
                            {"doubtful", placed.doubtful}});
  found.text += "  " + item.id + ": " + std::to_string(placed.characters.size()) + " of " +
                std::to_string(placed.letters) + " letters placed, " +
                std::to_string(placed.doubtful) + " of them in doubt\n";
}

Found place_all(OcrData& data, ReaderTool& reader, const NominalSize& size, Progress& progress) {
  Found found;
  progress.start("finding characters", data.items.size());
  for (auto& item : data.items) {
    progress.step();
    if (!needs_places(item)) continue;
    auto placed = place_text(reader, read_image(item.file), item, size);
    report(item, placed, found);
    item.partial = item.partial || placed.characters.size() < placed.letters;
    item.characters = std::move(placed.characters);
  }
  progress.finish();
  return found;
}

// The images beside labels.json, each once, under the paths they had.
void write_set(OcrData data, const std::filesystem::path& root, OutputFolder& out) {
  for (auto& item : data.items) {
    const auto relative = path_from_utf8(identifier(item.file, root));
    const bool inside = !relative.is_absolute() && *relative.begin() != "..";
    if (!inside) throw data_error(utf8(item.file) + ": lies outside of the data set");
    out.write(relative, read_file(item.file));
    item.file = relative;
  }
  out.write("labels.json", labels_json(data, ""));
}

StateFile given_state(const Options& options) {
  StateFile state;
  state.tool = ToolKind::kOcr;
  if (!options.state.empty()) state = read_state(path_from_utf8(options.state));
  if (state.tool == ToolKind::kOcr) return state;
  throw usage_error(options.state + ": is a state of the tool " + tool_name(state.tool) +
                    ", not of ocr");
}

std::vector<std::string> characters_of(const OcrData& data) {
  std::set<std::string> characters;
  for (const auto& item : data.items) {
    for (const auto& line : item.lines) {
      for (const char32_t letter : letters_of(line)) characters.insert(utf8_of(letter));
    }
  }
  return {characters.begin(), characters.end()};
}

// Without a state the reader learns the typed characters from images of them in common fonts; how
// they look here it does not know yet.
void teach(ReaderTool& reader, const OcrData& data, const NominalSize& size, Session& session) {
  std::error_code none;
  const RemovedOnExit folder(std::filesystem::temp_directory_path(none) /
                             ("telvar-label-" + process_tag()));
  std::filesystem::create_directory(folder.path(), none);
  const auto drawn = drawn_characters(characters_of(data), size, folder.path());
  if (drawn.items.empty()) {
    throw usage_error("--state is required: this program cannot draw characters to start from");
  }
  interruptible(
      [&](const StopRequest& stop) { return reader.train(drawn, size, session.progress, stop); });
}

Outcome label(const Options& options, Session& session) {
  const auto root = path_from_utf8(options.data);
  const auto state = given_state(options);
  Problems problems;
  auto data = read_ocr_data(root, Purpose::kTrain, problems);
  problems.throw_if_any();
  const auto size = reading_size(options, state, data);
  OutputFolder out(path_from_utf8(options.out), options.force);
  ReaderTool reader(session, state);
  if (options.state.empty()) teach(reader, data, size, session);
  const auto found = place_all(data, reader, size, session.progress);
  if (found.images == 0) {
    throw data_error(options.data + ": has no image with text but without characters");
  }
  if (!data.size.is_set()) data.size = size;
  write_set(std::move(data), root, out);
  out.commit();
  Outcome outcome;
  outcome.json = {{"out", options.out},
                  {"images", found.images},
                  {"sure", found.sure},
                  {"doubtful", found.doubtful}};
  outcome.text = std::to_string(found.sure) + " of " + counted(found.images, "image") +
                 " placed wholly and surely; labels in " + options.out + "\n";
  if (!found.text.empty()) outcome.text += "have a look at:\n" + found.text;
  return outcome;
}

}  // namespace

void add_label(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand(
      "label", "Find where the characters of typed text stand, for training the reader");
  sub->add_option("--state", options->state,
                  "A reader's state; otherwise one that knows the characters from common fonts");
  sub->add_option("--data", options->data,
                  "A reader's data set, in which images have \"text\" but no \"characters\"")
      ->required();
  sub->add_option("--size", options->size,
                  "Nominal character size WxH; otherwise that of the state, then of the labels");
  sub->add_option("--out", options->out, "Folder for the data set with characters")->required();
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty");
  sub->footer("Example:\n  telvar label --state reader.telvar --data typed/ --out labelled/");
  sub->callback([&command, options] {
    command = [options](Session& session) { return label(*options, session); };
  });
}

}  // namespace telvar_host

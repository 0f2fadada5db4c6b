#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <set>
#include <utility>

#include "app/text.h"
#include "commands/commands.h"
#include "commands/fielding_options.h"
#include "commands/process_items.h"
#include "datasets/ocr_data.h"
#include "files/file_names.h"
#include "files/output.h"
#include "files/state_file.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

struct Options {
  std::string state;
  std::string roi;
  std::string size;
  FieldingOptions fielding;
  std::string out;
  std::vector<std::string> images;
  bool force = false;
};

void refuse_inapplicable(const Options& options, ToolKind tool) {
  if (tool != ToolKind::kOcr) {
    refuse_option(!options.size.empty(), "--size", tool);
    refuse_option(!options.fielding.allowed.empty(), "--allow", tool);
    refuse_option(!options.fielding.patterns.empty(), "--patterns", tool);
  }
  if (tool == ToolKind::kClassifier) refuse_option(!options.roi.empty(), "--roi", tool);
}

ProcessSettings settings_of(const Options& options, const StateFile& state) {
  ProcessSettings settings;
  if (!options.roi.empty()) settings.region = parse_region(options.roi);
  settings.size = options.size.empty() ? state.size : parse_size(options.size);
  settings.fielding = fielding_of(options.fielding);
  if (state.tool == ToolKind::kOcr && !settings.size.is_set()) {
    throw usage_error(options.state + ": holds no character size; give --size WxH");
  }
  return settings;
}

// The pictures that go into the output folder. Where one of a picture's names is taken already, all
// of them get a number.
class PictureWriter {
 public:
  explicit PictureWriter(OutputFolder& out) : out_(out) {}

  // Returns the names.
  Json write(const ProcessedItem& item, const std::string& image) {
    std::vector<std::pair<std::string, cv::Mat>> pictures = {{".png", item.annotated}};
    for (const auto& [category, picture] : item.maps)
      pictures.emplace_back("." + categories_.of(category) + ".png", picture);
    const auto stem = path_from_utf8(image).stem().u8string();
    auto name = stem;
    const auto taken = [&](const auto& entry) { return used_.count(name + entry.first) != 0; };
    for (int number = 2; std::any_of(pictures.begin(), pictures.end(), taken); ++number)
      name = stem + "-" + std::to_string(number);
    auto names = Json::array();
    for (const auto& [ending, picture] : pictures) {
      used_.insert(name + ending);
      out_.write(path_from_utf8(name + ending), encoded(picture, ".png"));
      names.push_back(name + ending);
    }
    return names;
  }

  bool empty() const { return used_.empty(); }

 private:
  OutputFolder& out_;
  CategoryFileNames categories_;
  std::set<std::string> used_;
};

Outcome process(const Options& options, Session& session) {
  const auto state = read_state(path_from_utf8(options.state));
  refuse_inapplicable(options, state.tool);
  const auto settings = settings_of(options, state);
  std::unique_ptr<OutputFolder> out;
  std::unique_ptr<PictureWriter> writer;
  if (!options.out.empty()) {
    out = std::make_unique<OutputFolder>(path_from_utf8(options.out), options.force);
    writer = std::make_unique<PictureWriter>(*out);
  }
  const auto processor = make_processor(session, state, settings);
  Outcome outcome;
  outcome.json["tool"] = tool_name(state.tool);
  outcome.json["images"] = Json::array();
  session.progress.start("processing", options.images.size());
  for (const auto& image : options.images) {
    session.progress.step();
    auto item = processed(*processor, image);
    if (item.failed()) outcome.code = std::max(outcome.code, item.code);
    if (writer && !item.failed()) item.json["pictures"] = writer->write(item, image);
    outcome.text += item.text;
    outcome.json["images"].push_back(std::move(item.json));
  }
  session.progress.finish();
  if (out && !writer->empty()) {
    out->commit();
    outcome.json["out"] = options.out;
    outcome.text += "annotated pictures in " + options.out + "\n";
  }
  return outcome;
}

}  // namespace

void add_process(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("process", "Use a trained tool on pictures");
  sub->add_option("--state", options->state, "The trained state")->required();
  sub->add_option("--roi", options->roi,
                  "ocr, segmenter: region x,y,angle_deg,skew_deg,w,h; otherwise the whole picture");
  sub->add_option("--size", options->size,
                  "ocr: nominal character size WxH; otherwise that of the training");
  add_fielding_options(*sub, options->fielding);
  auto* out = sub->add_option("--out", options->out, "Folder for annotated pictures");
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty")->needs(out);
  sub->add_option("image", options->images, "Pictures")->required();
  sub->footer(
      "Example:\n  telvar process --state reader.telvar --roi 120,80,0,0,400,60 --allow 0123456789 "
      "--count 8 label.png");
  sub->callback([&command, options] {
    command = [options](Session& session) { return process(*options, session); };
  });
}

}  // namespace telvar_host

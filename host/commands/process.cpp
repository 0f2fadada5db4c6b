#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <set>
#include <utility>

#include "app/text.h"
#include "commands/commands.h"
#include "commands/inputs.h"
#include "commands/predict_options.h"
#include "commands/watch.h"
#include "files/file_names.h"
#include "files/input.h"
#include "files/output.h"
#include "images/read_image.h"
#include "report/annotate.h"

namespace telvar_host {
namespace {

struct Options {
  PredictOptions predict;
  LabelOptions labels;
  std::string out;
  std::string watch;
  std::vector<std::string> images;
  bool force = false;
};

// The images that go into the output folder. Where one of an image's names is taken already, all
// of them get a number.
class ImageWriter {
 public:
  explicit ImageWriter(OutputFolder& out) : out_(out) {}

  // Adds the names to `json`: all under "images", the maps also as "mask" of their category.
  void write(const Prediction& prediction, const cv::Mat& annotated, const std::string& image,
             Json& json) {
    std::vector<std::pair<std::string, cv::Mat>> images = {{".png", annotated}};
    for (const auto& [category, map] : prediction.maps)
      images.emplace_back("." + categories_.of(category) + ".png", map);
    const auto name = free_name(path_from_utf8(image).stem().u8string(), images);
    json["images"] = Json::array();
    for (const auto& [ending, pixels] : images) {
      used_.insert(name + ending);
      out_.write(path_from_utf8(name + ending), encoded(pixels, ".png"));
      json["images"].push_back(name + ending);
    }
    for (const auto& map : prediction.maps) {
      json["categories"][map.first]["mask"] = name + "." + categories_.of(map.first) + ".png";
    }
  }

  bool empty() const { return used_.empty(); }

 private:
  template <typename Images>
  std::string free_name(const std::string& stem, const Images& images) const {
    auto name = stem;
    const auto taken = [&](const auto& image) { return used_.count(name + image.first) != 0; };
    for (int number = 2; std::any_of(images.begin(), images.end(), taken); ++number)
      name = stem + "-" + std::to_string(number);
    return name;
  }

  OutputFolder& out_;
  CategoryFileNames categories_;
  std::set<std::string> used_;
};

// One image after the other through one tool.
class Processing {
 public:
  Processing(const Options& options, Session& session, const StateFile& state)
      : options_(options), settings_(predictor_settings(options.predict, state)) {
    if (!options.out.empty()) {
      out_ = std::make_unique<OutputFolder>(path_from_utf8(options.out), options.force);
      writer_ = std::make_unique<ImageWriter>(*out_);
    }
    predictor_ = make_predictor(session, state, settings_);
  }

  // "file" and what was predicted, or "error".
  Json process(const std::string& image) {
    const auto attempt = telvar_host::attempt(*predictor_, path_from_utf8(image));
    Json json = {{"file", image}};
    if (!attempt.prediction) {
      json["error"] = attempt.error;
      return json;
    }
    json.update(json_of(*attempt.prediction));
    if (writer_) {
      const auto annotated =
          drawn_prediction(attempt.image, *attempt.prediction, settings_.region, settings_.size);
      writer_->write(*attempt.prediction, annotated, image, json);
    }
    return json;
  }

  LabelsWritten write_labels(const std::vector<PredictedImage>& images, ToolKind tool) {
    const auto read_mask = [&](const std::string& name) {
      return read_file(out_->staging() / path_from_utf8(name));
    };
    return write_asked_labels(images, options_.labels, {tool, {}, settings_.region, settings_.size},
                              read_mask, out_.get());
  }

  // Whether there is anything to show.
  bool commit() {
    if (!out_ || writer_->empty()) return false;
    out_->commit();
    return true;
  }

 private:
  const Options& options_;
  PredictorSettings settings_;
  std::unique_ptr<OutputFolder> out_;
  std::unique_ptr<ImageWriter> writer_;
  std::unique_ptr<Predictor> predictor_;
};

void require_inputs(const Options& options) {
  const bool watching = !options.watch.empty();
  if (watching == !options.images.empty()) {
    throw usage_error(watching ? "--watch takes the images of its folder; give no others"
                               : "no image is given; name files or folders, - for a list on "
                                 "standard input, or --watch FOLDER");
  }
  if (watching && !options.out.empty()) {
    throw usage_error("--out does not go with --watch, which has no end; batch writes folders");
  }
}

Outcome process_all(const Options& options, Session& session, const StateFile& state) {
  Processing processing(options, session, state);
  const auto images = listed_images(options.images);
  Outcome outcome;
  outcome.json["tool"] = tool_name(state.tool);
  outcome.json["images"] = Json::array();
  std::vector<PredictedImage> predicted;
  session.progress.start("processing", images.size());
  for (const auto& image : images) {
    session.progress.step();
    auto json = processing.process(image);
    if (json.contains("error")) outcome.code = ExitCode::kBadData;
    outcome.text += image + "\n" + text_of(json);
    predicted.push_back({path_from_utf8(image), std::move(json)});
  }
  session.progress.finish();
  const auto labels = processing.write_labels(predicted, state.tool);
  outcome.json.update(labels.json);
  for (auto& image : predicted) outcome.json["images"].push_back(std::move(image.json));
  if (processing.commit()) {
    outcome.json["out"] = options.out;
    outcome.text += "annotated images in " + options.out + "\n";
  }
  outcome.text += labels.text;
  return outcome;
}

Outcome process(const Options& options, Session& session) {
  require_inputs(options);
  const auto state = read_state(path_from_utf8(options.predict.state));
  require_label_format(options.labels, state.tool);
  if (options.watch.empty()) return process_all(options, session, state);
  Processing processing(options, session, state);
  return watch(path_from_utf8(options.watch), session.json(),
               [&](const std::string& image) { return processing.process(image); });
}

}  // namespace

void add_process(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("process", "Use a trained tool on images");
  add_predict_options(*sub, options->predict);
  auto* out =
      sub->add_option("--out", options->out, "Folder for annotated images, maps and labels");
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty")->needs(out);
  add_label_options(*sub, options->labels, out);
  sub->add_option("--watch", options->watch,
                  "Process the images of this folder, and others as they come, until interrupted; "
                  "with --json a line of JSON each");
  sub->add_option("image", options->images,
                  "Images, folders of them, or - for a list on standard input");
  sub->footer(
      "Lines of text come without spaces, which are no characters.\n\n"
      "Example:\n  telvar process --state reader.telvar --roi 120,80,0,0,400,60 --allow 0123456789 "
      "--count 8 label.png");
  sub->callback([&command, options] {
    command = [options](Session& session) { return process(*options, session); };
  });
}

}  // namespace telvar_host

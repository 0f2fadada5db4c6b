#include "commands/predict_options.h"

#include <CLI/CLI.hpp>

#include "app/text.h"
#include "commands/commands.h"
#include "datasets/ocr_data.h"

namespace telvar_host {
namespace {

void refuse_inapplicable(const PredictOptions& options, ToolKind tool) {
  if (tool != ToolKind::kOcr) {
    refuse_option(!options.size.empty(), "--size", tool);
    refuse_option(!options.fielding.allowed.empty(), "--allow", tool);
    refuse_option(!options.fielding.patterns.empty(), "--patterns", tool);
  }
  if (tool == ToolKind::kClassifier) refuse_option(!options.roi.empty(), "--roi", tool);
}

Json doubtful_json(const std::vector<PredictedImage>& images,
                   const std::vector<std::size_t>& chosen) {
  auto list = Json::array();
  for (const auto index : chosen) {
    const auto& json = images[index].json;
    list.push_back({{"file", json["file"]}, {"certainty", json["certainty"]}});
  }
  return list;
}

std::string doubtful_text(const std::vector<PredictedImage>& images,
                          const std::vector<std::size_t>& chosen, double below) {
  std::string text = std::to_string(chosen.size()) + " of " + counted(images.size(), "image") +
                     " below " + fixed(100 * below, 0) + " %, least certain first\n";
  for (const auto index : chosen) {
    const auto& json = images[index].json;
    text += "  " + padded(fixed(100 * json["certainty"].get<double>(), 1) + " %", 8) +
            json["file"].get<std::string>() + "\n";
  }
  return text;
}

}  // namespace

void add_predict_options(CLI::App& app, PredictOptions& options) {
  app.add_option("--state", options.state, "The trained state")->required();
  app.add_option("--roi", options.roi,
                 "ocr, segmenter: region x,y,angle_deg,skew_deg,w,h; otherwise the whole image");
  app.add_option("--size", options.size,
                 "ocr: nominal character size WxH; otherwise that of the training");
  add_fielding_options(app, options.fielding);
}

PredictorSettings predictor_settings(const PredictOptions& options, const StateFile& state) {
  refuse_inapplicable(options, state.tool);
  PredictorSettings settings;
  if (!options.roi.empty()) settings.region = parse_region(options.roi);
  settings.size = options.size.empty() ? state.size : parse_size(options.size);
  settings.fielding = fielding_of(options.fielding);
  if (state.tool == ToolKind::kOcr && !settings.size.is_set()) {
    throw usage_error(options.state + ": holds no character size; give --size WxH");
  }
  return settings;
}

void add_label_options(CLI::App& app, LabelOptions& options, CLI::Option* out) {
  app.add_option("--write-labels", options.format,
                 "Write what was predicted as labels into OUT/labels, to correct and train on: "
                 "dataset, labelme or coco")
      ->check(CLI::IsMember({"dataset", "labelme", "coco"}))
      ->needs(out);
  app.add_option("--below", options.below,
                 "Name the images that the tool is less sure of than this (0..1), and write labels "
                 "of them alone")
      ->check(CLI::Range(0.0, 1.0));
}

void require_label_format(const LabelOptions& options, ToolKind tool) {
  if (tool != ToolKind::kClassifier || options.format.empty() || options.format == "dataset") {
    return;
  }
  throw usage_error("--write-labels " + options.format +
                    " does not apply to the tool classifier; its labels are a folder per category "
                    "(--write-labels dataset)");
}

LabelsWritten write_asked_labels(const std::vector<PredictedImage>& images,
                                 const LabelOptions& options, LabelSettings settings,
                                 const std::function<std::string(const std::string&)>& read_mask,
                                 OutputFolder* out) {
  LabelsWritten written;
  const auto chosen = least_certain(images, options.below);
  if (options.below) {
    written.json["doubtful"] = doubtful_json(images, chosen);
    written.text = doubtful_text(images, chosen, *options.below);
  }
  if (options.format.empty() || chosen.empty()) return written;
  settings.format = options.format;
  write_labels(images, chosen, settings, read_mask, *out, "labels/");
  written.json["labels"] = utf8(out->target() / "labels");
  written.text += "labels of " + counted(chosen.size(), "image") + " in " +
                  utf8(out->target() / "labels") + "\n";
  return written;
}

}  // namespace telvar_host

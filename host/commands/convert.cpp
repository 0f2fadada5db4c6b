#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "convert/annotations.h"
#include "convert/label_writers.h"
#include "datasets/layout.h"
#include "files/input.h"
#include "files/output.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

struct Options {
  std::string from;
  std::string tool;
  std::string labels;
  std::string images;
  std::string out;
  bool force = false;
};

std::vector<AnnotatedImage> read_one_file(const Options& options) {
  const auto labels = path_from_utf8(options.labels);
  const auto images =
      options.images.empty() ? labels.parent_path() : path_from_utf8(options.images);
  const auto parse = options.from == "cvat" ? parse_cvat : parse_coco;
  return parse(read_file(labels), options.labels, images);
}

std::vector<AnnotatedImage> read_labelme(const Options& options) {
  if (!options.images.empty()) {
    throw usage_error(
        "--images does not apply to labelme files, which name their images themselves");
  }
  const auto folder = path_from_utf8(options.labels);
  require_folder(folder);
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == ".json") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<AnnotatedImage> images;
  images.reserve(files.size());
  for (const auto& file : files) {
    images.push_back(parse_labelme(read_file(file), utf8(file), folder));
  }
  return images;
}

std::vector<AnnotatedImage> read_annotations(const Options& options) {
  if (options.from == "coco" || options.from == "cvat") return read_one_file(options);
  if (options.from == "labelme") return read_labelme(options);
  const auto labels = path_from_utf8(options.labels);
  return read_yolo(labels, options.images.empty() ? labels : path_from_utf8(options.images));
}

void require_any_label(const std::vector<AnnotatedImage>& images) {
  const auto has_label = [](const auto& image) {
    return !image.shapes.empty() || !image.category.empty();
  };
  if (std::any_of(images.begin(), images.end(), has_label)) return;
  throw data_error(utf8(images.front().file) + ": has no labels, nor has any other image");
}

Outcome convert(const Options& options) {
  const auto tool = tool_named(options.tool);
  if (tool == ToolKind::kClassifier && options.from != "cvat") {
    throw usage_error("--from " + options.from +
                      " does not apply to the tool classifier: its data set is a folder per "
                      "category");
  }
  OutputFolder out(path_from_utf8(options.out), options.force);
  const auto images = read_annotations(options);
  if (images.empty()) throw data_error(options.labels + ": labels no images");
  require_any_label(images);
  const auto writer = make_dataset_writer(tool, {}, out, "");
  for (const auto& image : images) writer->add(image);
  writer->finish();
  out.commit();
  Outcome outcome;
  outcome.json = {{"out", options.out}, {"images", images.size()}};
  outcome.text = counted(images.size(), "image") + " with labels in " + options.out + "\n";
  return outcome;
}

}  // namespace

void add_convert(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("convert", "Make a data set from labels of other programs");
  sub->add_option("--from", options->from, "coco, cvat, labelme or yolo")
      ->required()
      ->check(CLI::IsMember({"coco", "cvat", "labelme", "yolo"}));
  add_tool_option(*sub, options->tool);
  sub->add_option("--labels", options->labels,
                  "The COCO or CVAT file, or the folder of labelme or YOLO files")
      ->required();
  sub->add_option("--images", options->images,
                  "coco, cvat, yolo: folder of the images; otherwise that of the labels");
  sub->add_option("--out", options->out, "Folder for the data set")->required();
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty");
  sub->footer(
      "Example:\n  telvar convert --from coco --tool segmenter --labels instances.json --images "
      "jpg/ "
      "--out scratches/");
  sub->callback(
      [&command, options] { command = [options](Session&) { return convert(*options); }; });
}

}  // namespace telvar_host

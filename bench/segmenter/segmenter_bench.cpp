// Prints a table: what each method reaches on each image set, and what it costs.
//
//   segmenter_bench [--small] [--set NAME]... [--method NAME]... [--folder DIR] [--images DIR]
//                   [--draw N] [--train N] [--tests N]
//
// --small     few images and no claim: shows that everything runs
// --set       one of make_sets below; all of them by default
// --method    engine, forest or threshold; all of them by default
// --folder    adds a set from DIR/{train,test}/{images,masks}/*.png, mask value v > 0: category "v"
// --draw      which of the endless draws of every set, 0 by default: tune on others than are
// reported
// --train     training images of each set, fewer than it has
// --tests     test images of each set
// --images    writes every test image with what the methods found beside it
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <opencv2/imgproc.hpp>
#include <set>

#include "../common/cpu_seconds.h"
#include "aerial_set.h"
#include "context_sets.h"
#include "figures.h"
#include "folder_set.h"
#include "images/codecs/codecs.h"
#include "methods.h"
#include "scarce_sets.h"

namespace telvar::bench {
namespace {

struct Options {
  bool small = false;
  std::set<std::string> sets, methods;
  std::string folder, images;
  std::uint64_t draw = 0;
  int train = 0, tests = 0;  // 0: as many as the set has by default
};

bool chosen(const std::set<std::string>& wanted, const std::string& name) {
  return wanted.empty() || wanted.count(name) != 0;
}

std::vector<ImageSet> make_sets(const Options& options) {
  const auto tests = [&](int full) {
    if (options.tests > 0) return options.tests;
    return options.small ? 2 : full;
  };
  const int test = tests(10);
  const auto seed = [&](int set) { return set + 1000 * options.draw; };
  const auto count = [&](int full) { return options.small ? 3 : full; };
  const std::vector<std::pair<std::string, std::function<ImageSet()>>> makers = {
      {"defects", [&] { return make_defects(count(15), test, seed(1)); }},
      {"mosaics", [&] { return make_mosaics(count(10), test, seed(2)); }},
      {"discs", [&] { return make_discs(count(8), test, seed(3)); }},
      {"stains", [&] { return make_stains(count(10), test, seed(4)); }},
      {"sheets", [&] { return make_sheets(count(8), test, seed(5)); }},
      {"sizes", [&] { return make_sizes(count(8), test, seed(6)); }},
      {"neighbours", [&] { return make_neighbours(count(12), test, seed(7)); }},
      {"organs", [&] { return make_organs(count(10), test, seed(8)); }},
      {"slices", [&] { return make_slices(count(12), test, seed(12)); }},
      {"rare", [&] { return make_rare(count(20), tests(20), seed(9)); }},
      {"coins", [&] { return make_coins(3, test, seed(10)); }},
      {"cells", [&] { return make_cells(count(12), test, seed(11)); }},
      {"tiles", [&] { return make_tiles(count(12), test, seed(13)); }}};
  std::vector<ImageSet> sets;
  for (const auto& [name, make] : makers) {
    if (!chosen(options.sets, name)) continue;
    sets.push_back(make());
    auto& train = sets.back().train;
    if (options.train > 0 && train.size() > std::size_t(options.train)) train.resize(options.train);
  }
  if (!options.folder.empty()) sets.push_back(read_folder_set(options.folder));
  return sets;
}

/// The image, its masks and what was found, side by side; a colour for each of three categories.
void write_image(const std::string& path, const ImageSet& set, const LabelledImage& labelled,
                 const ProbabilityImages& found) {
  cv::Mat image;
  if (labelled.image.channels() == 1) {
    cv::cvtColor(labelled.image, image, cv::COLOR_GRAY2BGR);
  } else {
    image = labelled.image;
  }
  std::vector<cv::Mat> truth(3), claims(3);
  for (std::size_t i = 0; i < 3; ++i) {
    truth[i] = claims[i] = cv::Mat::zeros(image.size(), CV_8U);
    if (i >= set.categories.size()) continue;
    const auto mask = labelled.masks.find(set.categories[i]);
    if (mask != labelled.masks.end()) truth[i] = mask->second;
    claims[i] = found.at(set.categories[i]);
  }
  cv::Mat right, middle, all;
  cv::merge(truth, middle);
  cv::merge(claims, right);
  cv::hconcat(std::vector<cv::Mat>{image, middle, right}, all);
  std::ofstream(path, std::ios::binary) << telvar_host::encode_png(all);
}

void run(const ImageSet& set, Method& method, const Options& options) {
  const double start = cpu_seconds();
  method.train(set);
  const double trained = cpu_seconds();
  Figures figures(set.categories);
  double pixels = 0, segmenting = 0;
  for (std::size_t i = 0; i < set.test.size(); ++i) {
    const double before = cpu_seconds();
    const ProbabilityImages found = method.segment(set.test[i].image);
    segmenting += cpu_seconds() - before;
    pixels += static_cast<double>(set.test[i].image.total());
    figures.add(set.test[i], found);
    if (!options.images.empty()) {
      write_image(
          options.images + "/" + set.name + "-" + method.name() + "-" + std::to_string(i) + ".png",
          set, set.test[i], found);
    }
  }
  std::printf("| %s | %s (%zu) | %.3f | %.3f | %.3f | %.3f |", method.name().c_str(),
              set.name.c_str(), set.train.size(), figures.mean_iou(), figures.best_iou(),
              figures.calibration_error(), figures.unsure_calibration_error());
  if (method.score() < 0) {
    std::printf(" – |");
  } else {
    std::printf(" %.3f |", method.score());
  }
  std::printf(" %.0f | %.2f |", trained - start, segmenting / (pixels * 1e-6));
  for (const std::string& category : set.categories) {
    std::printf(" %s %.3f", category.c_str(), figures.iou(category));
  }
  std::printf(" |\n");
  std::fflush(stdout);
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--small") {
      options.small = true;
      continue;
    }
    if (i + 1 == argc) throw std::runtime_error(name + ": a value is missing");
    const std::string value = argv[++i];
    if (name == "--set") {
      options.sets.insert(value);
    } else if (name == "--method") {
      options.methods.insert(value);
    } else if (name == "--folder") {
      options.folder = value;
    } else if (name == "--draw") {
      options.draw = std::stoul(value);
    } else if (name == "--train") {
      options.train = std::stoi(value);
    } else if (name == "--tests") {
      options.tests = std::stoi(value);
    } else if (name == "--images") {
      options.images = value;
      std::filesystem::create_directories(value);
    } else {
      throw std::runtime_error(name + ": no such option");
    }
  }
  return options;
}

void run_all(const Options& options) {
  // The engine works on all cores; CPU seconds are of all threads.
  cv::setNumThreads(1);
  std::printf(
      "| method | data set (training images) | mean IoU | at its best threshold | calibration "
      "error | of unsure pixels | own score | training, CPU s | CPU s a megapixel | IoU by "
      "category "
      "|\n|---|---|---|---|---|---|---|---|---|---|\n");
  for (const ImageSet& set : make_sets(options)) {
    if (chosen(options.methods, "threshold")) run(set, *make_threshold_method(), options);
    if (chosen(options.methods, "forest")) run(set, *make_forest_method(), options);
    if (chosen(options.methods, "engine")) run(set, *make_engine_method(), options);
  }
}

}  // namespace
}  // namespace telvar::bench

int main(int argc, char** argv) {
  try {
    telvar::bench::run_all(telvar::bench::parse(argc, argv));
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << "segmenter_bench: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}

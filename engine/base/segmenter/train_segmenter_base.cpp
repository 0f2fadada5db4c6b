// Trains the built-in base network of the segmenter on rendered scenes (README.md):
//
//   train_segmenter_base FOLDER BASE_FILE [--steps N] [--images N] [--from BASE_FILE]
//
// Learns for 24000 steps from all images at once, each of which tells about the categories of its
// own task alone; from nothing or from an earlier base of the same categories. The base file is a
// segmenter artifact without exemplars.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "core/categories.h"
#include "images/codecs/codecs.h"
#include "segmenter/evaluation.h"
#include "segmenter/exclusive_loss.h"
#include "segmenter/network/inference.h"
#include "segmenter/network/network.h"
#include "segmenter/network_training.h"
#include "segmenter/samples/crops.h"
#include "segmenter/state.h"
#include "trainer.h"

namespace telvar::segmenter {
namespace {

constexpr std::uint64_t kSeed = 0x7363'656e'65ULL;

/// The side of the crops, pixels: as of trainings.
constexpr int kSide = kMaxCropSide;

/// Scenes are rendered to about this brightness and deviation of it; those without colour leave the
/// planes of the hues empty.
const InputSpec kInput{true, 0.5f, 0.2f, false};

/// Of so many images and one more, that one only judges.
constexpr std::size_t kTaughtOf = 19;

using Json = nlohmann::json;

struct BaseSet {
  std::vector<std::string> categories;  // ascending
  std::vector<TrainingTile> tiles;
  std::vector<TrainingTile> unseen;  // every twentieth image
};

core::Raster to_raster(const cv::Mat& pixels) {
  core::Raster raster(pixels.cols, pixels.rows, pixels.channels());
  for (int y = 0; y < pixels.rows; ++y) {
    const unsigned char* row = pixels.ptr(y);
    for (int x = 0; x < pixels.cols; ++x) {
      // Decoded pixels are blue, green, red.
      for (int c = 0; c < raster.channels; ++c) {
        raster.at(raster.channels - 1 - c, y, x) = row[x * raster.channels + c] / 255.0f;
      }
    }
  }
  return raster;
}

/// Of labels 0 (nothing) and k (the category that `places` puts at place k - 1).
std::vector<core::Mask> masks_of(const cv::Mat& labels, const std::vector<std::size_t>& places) {
  std::vector<core::Mask> masks(places.size());
  for (int y = 0; y < labels.rows; ++y) {
    for (int x = 0; x < labels.cols; ++x) {
      const int label = *labels.ptr(y, x);
      if (label == 0) continue;
      core::Mask& mask = masks[places.at(label - 1)];
      if (mask.values.empty()) mask = core::Mask(labels.cols, labels.rows);
      mask.at(y, x) = 1;
    }
  }
  return masks;
}

TrainingTile read_tile(const std::string& folder, const Json& image,
                       const std::vector<std::size_t>& places) {
  const std::string stem = folder + "/" + image["file"].get<std::string>();
  const cv::Mat pixels = telvar_host::decode_file(stem + ".png");
  const cv::Mat labels = telvar_host::decode_file(stem + ".mask.png");
  if (pixels.depth() != CV_8U || labels.type() != CV_8UC1 || labels.size() != pixels.size()) {
    throw std::runtime_error(stem + ": image and mask must be of 8 bits and of one size");
  }
  std::uint64_t known = 0;
  for (const Json& category : image["known"]) {
    known |= std::uint64_t{1} << places.at(category.get<std::size_t>());
  }
  return make_tile(to_raster(pixels), 1, masks_of(labels, places), known);
}

BaseSet read_set(const std::string& folder, std::size_t most) {
  std::ifstream stream(folder + "/labels.json");
  if (!stream) throw std::runtime_error(folder + "/labels.json cannot be read");
  const Json labels = Json::parse(stream);
  BaseSet set;
  const auto names = labels["categories"].get<std::vector<std::string>>();
  set.categories = names;
  std::sort(set.categories.begin(), set.categories.end());
  std::vector<std::size_t> places;
  for (const std::string& name : names) places.push_back(core::index_of(name, set.categories));
  for (const Json& image : labels["images"]) {
    if (set.tiles.size() == most) break;
    const bool is_unseen = set.tiles.size() == kTaughtOf * (set.unseen.size() + 1);
    (is_unseen ? set.unseen : set.tiles).push_back(read_tile(folder, image, places));
  }
  return set;
}

/// Prints how well each category is found in the images that did not teach.
void report(const BaseSet& set, const nn::Network& net, core::WorkerPool& pool) {
  Tiles unseen;
  for (const TrainingTile& tile : set.unseen) unseen.push_back(&tile);
  const std::vector<Overlap> overlaps = measure_overlap(Predictor(net, kInput), unseen, {}, pool);
  for (std::size_t c = 0; c < overlaps.size(); ++c) {
    std::printf("%s %.3f\n", set.categories[c].c_str(), mean_iou({overlaps[c]}));
  }
  std::printf("mean %.3f\n", mean_iou(overlaps));
}

/// The network of an earlier base; throws std::runtime_error unless it has these categories.
nn::Network network_of(const std::string& file, const std::vector<std::string>& categories) {
  const SegmenterState state = read_state(base::read_file(file));
  if (state.categories != categories) throw std::runtime_error(file + " has other categories");
  return state.net;
}

}  // namespace

static void train_base(const base::Options& options) {
  const BaseSet set = read_set(options.folder, options.images);
  std::printf("%zu images, %zu categories\n", set.tiles.size(), set.categories.size());
  std::fflush(stdout);
  Tiles tiles;
  for (const TrainingTile& tile : set.tiles) tiles.push_back(&tile);
  const auto count = static_cast<int>(set.categories.size());
  nn::Network net = options.from.empty() ? make_initial_net(kInput.planes(), count, kSeed)
                                         : network_of(options.from, set.categories);
  core::TrainingPool pool;
  nn::TrainingPlan plan;
  plan.steps = options.steps;
  plan.seed = options.from.empty() ? kSeed : kSeed + 1;  // other crops than those seen
  const CropSource source(tiles, kSide, count, kInput);
  train_network(net, {source, source, false, exclusive_loss}, plan, pool);
  report(set, net, pool);
  SegmenterState state;
  state.categories = set.categories;
  state.input = kInput;
  state.net = net;
  base::write_file(options.file, write_state(state));
}

}  // namespace telvar::segmenter

int main(int count, char** arguments) {
  return telvar::base::run_trainer("train_segmenter_base", 24000, count, arguments,
                                   telvar::segmenter::train_base);
}

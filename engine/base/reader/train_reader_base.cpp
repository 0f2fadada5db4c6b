// Trains the built-in base network of the reader on a rendered data set (README.md):
//
//   train_reader_base FOLDER BASE_FILE [--steps N] [--images N] [--from BASE_FILE]
//
// Learns for 100000 steps from all images, from nothing or from an earlier base of the same
// categories. The base file is a reader artifact without exemplars.

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>

#include "core/categories.h"
#include "images/codecs/codecs.h"
#include "ocr/network/network.h"
#include "ocr/network/network_training.h"
#include "ocr/state.h"
#include "telvar/image.h"
#include "trainer.h"

namespace telvar::ocr {
namespace {

constexpr std::uint64_t kSeed = 0x62617365;

struct BaseSet {
  NominalSize size{};
  std::vector<std::string> categories;  // ascending
  std::vector<PreparedSample> samples;
};

using Json = nlohmann::json;

Json read_labels(const std::string& folder) {
  std::ifstream stream(folder + "/labels.json");
  if (!stream) throw std::runtime_error(folder + "/labels.json cannot be read");
  return Json::parse(stream);
}

std::vector<std::string> categories_in(const Json& labels) {
  std::set<std::string> categories;
  for (const Json& image : labels["images"]) {
    for (const Json& character : image["characters"]) {
      categories.insert(character["category"].get<std::string>());
    }
  }
  return {categories.begin(), categories.end()};
}

PreparedSample read_sample(const std::string& folder, const Json& image, const BaseSet& set) {
  const std::string file = folder + "/" + image["file"].get<std::string>();
  const cv::Mat pixels = telvar_host::decode_file(file);
  if (pixels.type() != CV_8UC1) throw std::runtime_error(file + " is not gray of 8 bits");
  const auto width = static_cast<unsigned>(pixels.cols),
             height = static_cast<unsigned>(pixels.rows);
  const types::ImageView view(width, height, static_cast<unsigned>(pixels.step), 1, 8, 0,
                              pixels.data);
  PreparedSample sample = prepare(view, core::whole_image(view), set.size, file);
  const float scale_x = static_cast<float>(sample.width) / static_cast<float>(width);
  const float scale_y = static_cast<float>(sample.height) / static_cast<float>(height);
  for (const Json& character : image["characters"]) {
    sample.labels.push_back(
        {core::index_of(character["category"].get<std::string>(), set.categories),
         (character["x"].get<float>() + 0.5f) * scale_x - 0.5f,
         (character["y"].get<float>() + 0.5f) * scale_y - 0.5f});
  }
  return sample;
}

BaseSet read_set(const std::string& folder, std::size_t most) {
  const Json labels = read_labels(folder);
  BaseSet set;
  set.size = {labels["size"][0].get<float>(), labels["size"][1].get<float>()};
  set.categories = categories_in(labels);
  for (const Json& image : labels["images"]) {
    if (set.samples.size() == most) break;
    set.samples.push_back(read_sample(folder, image, set));
  }
  return set;
}

void write_base(const BaseSet& set, const nn::Network& net, const std::string& file) {
  ReaderState state;
  state.size = set.size;
  Expert expert;
  expert.categories = set.categories;
  expert.spacing = Spacing(static_cast<int>(set.categories.size()));
  expert.net = net;
  state.experts = {expert};
  base::write_file(file, write_state(state));
}

/// The network of an earlier base; throws std::runtime_error unless it has these categories.
nn::Network network_of(const std::string& file, const std::vector<std::string>& categories) {
  const Expert expert = read_state(base::read_file(file)).experts.front();
  if (expert.categories != categories) throw std::runtime_error(file + " has other categories");
  return expert.net;
}

}  // namespace

static void train_base(const base::Options& options) {
  const BaseSet set = read_set(options.folder, options.images);
  std::printf("%zu images, %zu categories\n", set.samples.size(), set.categories.size());
  std::vector<const PreparedSample*> samples;
  for (const PreparedSample& sample : set.samples) samples.push_back(&sample);
  core::Random random({kSeed});
  nn::Network net = options.from.empty()
                        ? make_network(static_cast<int>(set.categories.size()), random)
                        : network_of(options.from, set.categories);
  core::TrainingPool pool;
  NetworkPlan plan;
  plan.steps = options.steps;
  plan.seed = options.from.empty() ? kSeed : kSeed + 1;  // other crops than those seen
  plan.crops_per_step = 4;
  plan.inverted = 0.5f;
  train_network(net, samples, plan, pool);
  write_base(set, net, options.file);
}

}  // namespace telvar::ocr

int main(int count, char** arguments) {
  return telvar::base::run_trainer("train_reader_base", 100000, count, arguments,
                                   telvar::ocr::train_base);
}

// Trains the built-in base network of the reader on a rendered data set (README.md):
//
//   train_base FOLDER BASE_FILE [--steps N] [--images N] [--from BASE_FILE]
//
// Learns for 100000 steps from all images, from nothing or from an earlier base of the same
// categories. The base file is a reader artifact without exemplars.

#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
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
  std::ofstream stream(file, std::ios::binary);
  stream << write_state(state) << std::flush;
  if (!stream) throw std::runtime_error(file + " cannot be written");
}

/// The network of an earlier base; throws std::runtime_error unless it has these categories.
nn::Network network_of(const std::string& file, const std::vector<std::string>& categories) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error(file + " cannot be read");
  const Expert expert = read_state({std::istreambuf_iterator<char>(stream), {}}).experts.front();
  if (expert.categories != categories) throw std::runtime_error(file + " has other categories");
  return expert.net;
}

struct Options {
  std::string folder, file;
  int steps = 100000;
  std::size_t images = 1000000;
  std::string from;  // base file to start from, or empty
};

void train_base(const Options& options) {
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

/// The number that an option has; throws std::runtime_error unless it is one from 1 on.
int number_of(const std::string& option, const std::string& text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || number < 1) {
    throw std::runtime_error(option + " must be a whole number from 1 on, not '" + text + "'");
  }
  return number;
}

Options options_of(int count, char** arguments) {
  Options options;
  options.folder = arguments[1];
  options.file = arguments[2];
  for (int i = 3; i + 1 < count; i += 2) {
    const std::string name = arguments[i], value = arguments[i + 1];
    if (name == "--steps") {
      options.steps = number_of(name, value);
    } else if (name == "--images") {
      options.images = static_cast<std::size_t>(number_of(name, value));
    } else if (name == "--from") {
      options.from = value;
    } else {
      throw std::runtime_error("there is no option " + name);
    }
  }
  return options;
}

}  // namespace
}  // namespace telvar::ocr

int main(int count, char** arguments) {
  if (count < 3 || count % 2 == 0) {
    std::fprintf(
        stderr, "usage: train_base FOLDER BASE_FILE [--steps N] [--images N] [--from BASE_FILE]\n");
    return 2;
  }
  try {
    telvar::ocr::train_base(telvar::ocr::options_of(count, arguments));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "train_base: %s\n", error.what());
    return 1;
  }
}

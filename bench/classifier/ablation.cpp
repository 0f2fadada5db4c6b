// What every part of the classifier brings: each alone, and all together.
//
//   telvar_classifier_ablation [--set FOLDER|parts|textures] [--per-class 50] [--draw 0]
//                              [--test 500] [--effort 10]
//
// Prints a row for every part: the share of the test images that it gets right, and the CPU seconds
// that it takes to learn. FOLDER holds gzipped IDX files.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "classifier/dataset.h"
#include "classifier/evaluation.h"
#include "classifier/features/orders.h"
#include "classifier/inference.h"
#include "classifier/network_training.h"
#include "classifier/state.h"
#include "classifier/training.h"
#include "labelled_images.h"
#include "methods.h"

namespace bench {
namespace {

namespace engine = telvar::classifier;

struct Options {
  std::string set = "parts";
  int per_class = 50, test = 500, effort = 10;
  unsigned draw = 0;
};

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string name = argv[i], value = argv[i + 1];
    if (name == "--set") {
      options.set = value;
    } else if (name == "--per-class") {
      options.per_class = std::stoi(value);
    } else if (name == "--draw") {
      options.draw = static_cast<unsigned>(std::stoul(value));
    } else if (name == "--test") {
      options.test = std::stoi(value);
    } else if (name == "--effort") {
      options.effort = std::stoi(value);
    } else {
      throw std::runtime_error("unknown option " + name);
    }
  }
  if (argc % 2 == 0) throw std::runtime_error(std::string(argv[argc - 1]) + " needs a value");
  return options;
}

engine::Thumbnail reduced(const cv::Mat& image, int side) {
  const auto channels = unsigned(image.channels());
  const telvar::types::Image copy(unsigned(image.cols), unsigned(image.rows),
                                  unsigned(image.step[0]), channels, 8, channels == 3 ? 1 : 0,
                                  image.data);
  return engine::make_thumbnail(telvar::types::ImageView(copy), side);
}

/// The images of a set as the classifier sees them, and what it made of those that it learned.
struct Experiment {
  engine::Canvas canvas;
  engine::TrainingSet set;
  std::vector<engine::Sample> tests;
  std::vector<int> test_labels;
  std::vector<const engine::Sample*> learned, asked;
};

std::vector<engine::Sample> placed(const LabelledImages& images, const engine::Canvas& canvas) {
  std::vector<engine::Sample> samples;
  for (const cv::Mat& image : images.images) {
    samples.push_back(engine::letterbox(reduced(image, canvas.thumbnail_side), canvas));
  }
  return samples;
}

void prepare(const LabelledImages& train, const LabelledImages& test, Experiment& experiment) {
  std::vector<engine::Thumbnail> thumbnails;
  std::vector<engine::DatasetEntry> entries;
  const int side = engine::thumbnail_side_for(int(train.images.size()));
  for (std::size_t i = 0; i < train.images.size(); ++i) {
    thumbnails.push_back(reduced(train.images[i], side));
    const std::string name = std::to_string(i);
    entries.push_back({name, name, std::string(1, char('a' + train.labels[i]))});
  }
  experiment.canvas = engine::choose_canvas(thumbnails);
  std::vector<engine::Sample> samples = placed(train, experiment.canvas);
  engine::measure_levels(experiment.canvas, samples);
  const int nets = engine::nets_for(samples.size());
  experiment.set = engine::join_samples(entries, std::move(samples), nullptr, nets);
  experiment.tests = placed(test, experiment.canvas);
  experiment.test_labels = test.labels;
  for (const auto& sample : experiment.set.samples) experiment.learned.push_back(&sample);
  for (const auto& sample : experiment.tests) experiment.asked.push_back(&sample);
}

void print_row(const char* part, double right, double seconds) {
  std::printf("%-44s %9.2f %9.1f\n", part, 100 * right, seconds);
  std::fflush(stdout);
}

/// A kernel machine on some of the feature groups.
void kernel_row(const char* part, const Experiment& experiment, const std::set<int>& groups,
                const std::vector<engine::DihedralTransform>& transforms,
                telvar::core::TrainingPool& pool) {
  const double start = cpu_seconds();
  const auto described = [&](const std::vector<const engine::Sample*>& samples) {
    auto all = engine::describe_all(samples, experiment.canvas, engine::kEveryGroup, pool);
    for (auto& features : all) {
      for (int g = 0; g < engine::kFeatureGroups; ++g) {
        if (groups.count(g) == 0) features[g].clear();
      }
    }
    return all;
  };
  const auto features = described(experiment.learned);
  const auto orders = engine::orders_under(experiment.canvas, transforms);
  const int categories = int(experiment.set.categories.size());
  const std::size_t probe = std::min<std::size_t>(500, experiment.set.exemplars.size());
  std::vector<engine::Features> probed;
  std::vector<int> probed_labels;
  for (std::size_t k = 0; k < probe; ++k) {
    probed.push_back(features[experiment.set.exemplars[k]]);
    probed_labels.push_back(experiment.set.labels[experiment.set.exemplars[k]]);
  }
  const auto choice = engine::choose_kernel(probed, probed_labels, categories, orders, pool);
  engine::KernelAnswer held_out;
  const auto machine = engine::KernelMachine::learn(choice, features, orders, experiment.set.labels,
                                                    categories, pool, held_out);
  const double seconds = cpu_seconds() - start;
  const engine::Matrix scores = machine.answer(described(experiment.asked), pool).scores;
  print_row(part, engine::accuracy(scores, experiment.test_labels), seconds);
}

/// Networks that learn from the transforms in `symmetry`, each without the samples of its fold;
/// `nets` 0: one that learns from all samples.
void network_row(const char* part, const Experiment& experiment, const engine::Symmetry& symmetry,
                 int nets, int effort, telvar::core::TrainingPool& pool) {
  engine::NetworkTask task;
  task.samples = &experiment.set.samples;
  task.labels = &experiment.set.labels;
  task.canvas = experiment.canvas;
  task.symmetry = symmetry;
  task.categories = int(experiment.set.categories.size());
  task.effort = effort;
  task.fine_tunes = false;
  engine::ClassifierState state;
  state.categories = experiment.set.categories;
  state.canvas = experiment.canvas;
  const double start = cpu_seconds();
  for (int number = 0; number < std::max(1, nets); ++number) {
    task.seed = std::uint64_t(number) + 1;
    task.members.clear();
    for (std::size_t i = 0; i < experiment.set.samples.size(); ++i) {
      if (nets == 0 || experiment.set.folds[i] != number) task.members.push_back(int(i));
    }
    state.nets.push_back(engine::network_layers(experiment.canvas, task.categories));
    telvar::core::Random random({task.seed});
    state.nets.back().initialise(random);
    engine::train_network(state.nets.back(), task, pool);
  }
  const double seconds = cpu_seconds() - start;
  engine::build_inference(state);
  const engine::Matrix logits = engine::mean_logits(state, experiment.asked, pool);
  print_row(part, engine::accuracy(logits, experiment.test_labels), seconds);
}

void kernel_rows(const Experiment& experiment,
                 const std::vector<engine::DihedralTransform>& transforms,
                 telvar::core::TrainingPool& pool) {
  const std::set<int> every = {0, 1, 2, 3, 4, 5};
  const bool colour = experiment.canvas.channels > 1;
  kernel_row("kernel machine: shapes", experiment, {0, 1}, transforms, pool);
  kernel_row("kernel machine: pixels", experiment, {2}, transforms, pool);
  kernel_row("kernel machine: texture", experiment, {3}, transforms, pool);
  if (colour) kernel_row("kernel machine: colour", experiment, {4}, transforms, pool);
  kernel_row("kernel machine: covariance", experiment, {5}, transforms, pool);
  kernel_row("kernel machine: all groups", experiment, every, transforms, pool);
  kernel_row("kernel machine: no coarse shape", experiment, {1, 2, 3, 4, 5}, transforms, pool);
  kernel_row("kernel machine: no fine shape", experiment, {0, 2, 3, 4, 5}, transforms, pool);
  kernel_row("kernel machine: no pixels", experiment, {0, 1, 3, 4, 5}, transforms, pool);
  kernel_row("kernel machine: no texture", experiment, {0, 1, 2, 4, 5}, transforms, pool);
  if (colour)
    kernel_row("kernel machine: no colour", experiment, {0, 1, 2, 3, 5}, transforms, pool);
  kernel_row("kernel machine: no covariance", experiment, {0, 1, 2, 3, 4}, transforms, pool);
  if (transforms.size() > 1) {
    kernel_row("kernel machine: all groups, as they lie", experiment, every,
               engine::transforms_of({}), pool);
  }
}

void run(const Options& options) {
  const SplitImages split = open_set(options.set);
  const LabelledImages test = draw_subset(split.test, options.test / split.test.categories, 1);
  Experiment experiment;
  prepare(draw_subset(split.train, options.per_class, options.draw), test, experiment);
  telvar::core::TrainingPool pool;
  const double start = cpu_seconds();
  const auto trained =
      engine::train_classifier(experiment.set, experiment.canvas, nullptr,
                               engine::nets_for(experiment.learned.size()), options.effort, pool);
  const double seconds = cpu_seconds() - start;
  const engine::ClassifierState& state = trained.state;
  const auto transforms = engine::transforms_of(state.symmetry);
  std::printf("%s, %d a class, %zu transforms alike\n%-44s %9s %9s\n", split.train.name.c_str(),
              options.per_class, transforms.size(), "part", "correct %", "CPU s");
  kernel_rows(experiment, transforms, pool);
  if (transforms.size() > 1) {
    network_row("one network, as they lie", experiment, {}, 0, options.effort, pool);
  }
  network_row("one network", experiment, state.symmetry, 0, options.effort, pool);
  network_row("networks of all folds", experiment, state.symmetry,
              engine::nets_for(experiment.learned.size()), options.effort, pool);
  print_row(
      "all together",
      engine::accuracy(engine::scores_of(state, experiment.asked, pool), experiment.test_labels),
      seconds);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  try {
    bench::run(bench::parse(argc, argv));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "telvar_classifier_ablation: %s\n", error.what());
    return 1;
  }
}

// Compares the classifier with histograms of gradients and a support vector machine.
//
//   telvar_classifier_bench [--set FOLDER|parts|textures]... [--per-class 10,50,200] [--draws 5]
//                           [--test N] [--methods svm,engine] [--effort 10] [--full]
//                           [--foreign N]
//
// Prints one row per method, set and number of images a class: means over the draws. FOLDER holds
// gzipped IDX files; --full trains on all of its images instead. --foreign leaves N categories
// untrained, others in every draw, and shows how sure the engine is of images of them.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <stdexcept>

#include "methods.h"

namespace bench {

namespace {

struct Options {
  std::vector<std::string> sets;
  std::vector<int> per_class = {10, 50, 200};
  std::vector<std::string> methods = {"svm", "engine"};
  int draws = 5, test = 0, effort = 10, foreign = 0;
  bool full = false;
};

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, ',');) parts.push_back(part);
  return parts;
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--full") {
      options.full = true;
      continue;
    }
    if (i + 1 == argc) throw std::runtime_error("option " + name + " needs a value");
    const std::string value = argv[++i];
    if (name == "--set") {
      options.sets.push_back(value);
    } else if (name == "--per-class") {
      options.per_class.clear();
      for (const auto& part : split(value)) options.per_class.push_back(std::stoi(part));
    } else if (name == "--methods") {
      options.methods = split(value);
    } else if (name == "--draws") {
      options.draws = std::stoi(value);
    } else if (name == "--test") {
      options.test = std::stoi(value);
    } else if (name == "--foreign") {
      options.foreign = std::stoi(value);
    } else if (name == "--effort") {
      options.effort = std::stoi(value);
    } else {
      throw std::runtime_error("unknown option " + name);
    }
  }
  if (options.foreign > 0) options.methods = {"engine"};  // the other has no confidence
  if (options.sets.empty()) options.sets = {"parts", "textures"};
  return options;
}

Outcome run(const std::string& method, const LabelledImages& train, const LabelledImages& test,
            int effort) {
  if (method == "svm") return run_hog_svm(train, test);
  if (method == "engine") return run_engine(train, test, effort);
  throw std::runtime_error("unknown method " + method);
}

void print_row(const std::string& method, const LabelledImages& train, int per_class,
               const std::vector<Outcome>& outcomes) {
  Outcome mean;
  const double n = double(outcomes.size());
  mean.own_estimate = mean.calibration = mean.foreign = 0;
  for (const Outcome& outcome : outcomes) {
    mean.accuracy += outcome.accuracy / n;
    mean.train_seconds += outcome.train_seconds / n;
    mean.single_ms += outcome.single_ms / n;
    mean.own_estimate += outcome.own_estimate / n;
    mean.calibration += outcome.calibration / n;
    mean.foreign += outcome.foreign / n;
  }
  std::printf("%-10s %-14s %8d %5zu %9.2f %9.1f %9.2f", method.c_str(), train.name.c_str(),
              per_class, outcomes.size(), 100 * mean.accuracy, mean.train_seconds, mean.single_ms);
  if (mean.own_estimate >= 0) {
    std::printf(" %9.2f %9.2f", 100 * mean.own_estimate, 100 * mean.calibration);
  }
  if (mean.foreign >= 0) std::printf(" %9.2f", 100 * mean.foreign);
  std::printf("\n");
  std::fflush(stdout);
}

/// Without the images of `count` categories from `first` on, counted round.
LabelledImages without(const LabelledImages& all, int count, int first) {
  LabelledImages rest;
  rest.name = all.name;
  rest.categories = all.categories;
  for (std::size_t i = 0; i < all.images.size(); ++i) {
    if ((all.labels[i] + all.categories - first % all.categories) % all.categories < count) {
      continue;
    }
    rest.images.push_back(all.images[i]);
    rest.labels.push_back(all.labels[i]);
  }
  return rest;
}

void run_set(const SplitImages& split, const Options& options) {
  LabelledImages test = split.test;
  if (options.test > 0) test = draw_subset(test, options.test / test.categories, 1);
  if (options.full) {
    for (const auto& method : options.methods) {
      print_row(method, split.train, int(split.train.images.size()) / split.train.categories,
                {run(method, split.train, test, options.effort)});
    }
    return;
  }
  for (const int per_class : options.per_class) {
    std::vector<std::vector<Outcome>> outcomes(options.methods.size());
    for (int draw = 0; draw < options.draws; ++draw) {
      const LabelledImages train =
          without(draw_subset(split.train, per_class, unsigned(draw)), options.foreign, 3 * draw);
      for (std::size_t m = 0; m < options.methods.size(); ++m) {
        outcomes[m].push_back(run(options.methods[m], train, test, options.effort));
      }
    }
    for (std::size_t m = 0; m < options.methods.size(); ++m) {
      print_row(options.methods[m], split.train, per_class, outcomes[m]);
    }
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  try {
    const bench::Options options = bench::parse(argc, argv);
    std::printf("%-10s %-14s %8s %5s %9s %9s %9s %9s %9s %9s\n", "method", "set", "a class",
                "draws", "correct %", "train s", "ms/image", "own est.", "calib. %", "foreign %");
    for (const auto& name : options.sets) bench::run_set(bench::open_set(name), options);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "telvar_classifier_bench: %s\n", error.what());
    return 1;
  }
}

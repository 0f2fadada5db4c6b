#include "segmenter/trainer.h"

#include <algorithm>
#include <cmath>

#include "nn/passes.h"
#include "nn/training.h"
#include "segmenter/crops.h"
#include "segmenter/evaluation.h"
#include "segmenter/exemplars.h"
#include "segmenter/held_out.h"
#include "segmenter/network.h"

namespace telvar::segmenter {
namespace {

constexpr std::uint64_t kSeed = 0x7365'676d;

/// Eight crops a step. Each chunk is normalised and compared (Dice) on its own, and two crops are
/// too few for either: faint marks were lost.
constexpr int kChunks = 2;
constexpr int kCropsPerChunk = 4;

/// How long to train: rounds without the samples held out, judged after each, then the finish on
/// all samples, as a share of the steps made.
struct Effort {
  int max_rounds;
  int round_steps;
  double finish_share;
  double peak_rate;
};
constexpr Effort kFromNothing{5, 60, 0.6, 3e-3};
constexpr Effort kContinued{1, 60, 0.5, 2e-3};

/// When an artifact does well already on samples that bring nothing new.
constexpr Effort kTouchedUp{1, 20, 0.5, 1e-3};

/// Rounds end early when this is reached and a round adds less than kLeastGain.
constexpr double kGoodScore = 0.97;
constexpr double kLeastGain = 0.005;

using Tiles = std::vector<const TrainingTile*>;

InputSpec measure_input(const Tiles& tiles) {
  InputSpec spec;
  double sum = 0, squares = 0, count = 0;
  for (const TrainingTile* tile : tiles) {
    spec.colour = spec.colour || tile->channels == 3;
    const std::size_t area = tile->area();
    for (std::size_t i = 0; i < area; ++i) {
      const double luma = tile->channels == 1
                              ? tile->value(i)
                              : core::luma<double>(tile->value(i), tile->value(area + i),
                                                   tile->value(2 * area + i));
      sum += luma;
      squares += luma * luma;
    }
    count += static_cast<double>(area);
  }
  const double mean = sum / count;
  const double deviation = std::sqrt(std::max(0.0, squares / count - mean * mean));
  spec.mean = static_cast<float>(mean);
  spec.deviation = std::max(InputSpec::kMinDeviation, static_cast<float>(deviation));
  return spec;
}

/// Where each category of `from` stands in `to`.
std::vector<int> places_of(const std::vector<std::string>& from,
                           const std::vector<std::string>& to) {
  std::vector<int> places;
  for (const std::string& name : from) {
    places.push_back(static_cast<int>(std::lower_bound(to.begin(), to.end(), name) - to.begin()));
  }
  return places;
}

/// A tile whose labels refer to the categories' new places.
TrainingTile renumbered(TrainingTile tile, const std::vector<int>& places) {
  std::uint64_t known = 0;
  for (std::size_t c = 0; c < places.size(); ++c) {
    if (tile.known >> c & 1) known |= std::uint64_t{1} << places[c];
  }
  tile.known = known;
  for (LabelPlane& plane : tile.labels) plane.category = places[plane.category];
  return tile;
}

double chunk_loss(nn::ChunkPass& pass, const InputSpec& spec,
                  const std::vector<const CropSource*>& sources, int side, int categories,
                  core::Random& random) {
  const nn::Extent extent{static_cast<std::size_t>(side) * side, spec.planes()};
  ChunkTargets targets{kCropsPerChunk, extent.rows, categories, {}, {}};
  std::vector<float> planes(extent.count());
  for (int i = 0; i < kCropsPerChunk; ++i) {
    const Crop crop = sources[i % sources.size()]->draw(random);
    fill_input_planes(spec, crop.pixels.data(), side, side, planes.data());
    nn::interleave(planes.data(), extent, pass.input() + i * extent.count());
    targets.belongs.insert(targets.belongs.end(), crop.targets.begin(), crop.targets.end());
    targets.known.insert(targets.known.end(), crop.known.begin(), crop.known.end());
  }
  return segmentation_loss(pass.forward(), targets, pass.answer_gradient());
}

class Trainer {
 public:
  Trainer(const ModelState* base, const std::vector<std::string>& categories,
          std::vector<PreparedSample> samples, core::WorkerPool& pool)
      : categories_(categories),
        samples_(std::move(samples)),
        effort_(base == nullptr ? kFromNothing : kContinued),
        pool_(pool) {
    for (const PreparedSample& sample : samples_) add_tiles(sample, all_);
    start(base);
  }

  TrainedModel run() {
    TrainedModel trained;
    int steps = 0;
    trained.score = run_rounds(steps);
    run_finish(static_cast<int>(steps * effort_.finish_share));
    Tiles remembered = all_;
    for (const TrainingTile& tile : rehearsed_) remembered.push_back(&tile);
    trained.state = {categories_, spec_, net_, choose_exemplars(remembered, count())};
    return trained;
  }

 private:
  int count() const { return static_cast<int>(categories_.size()); }

  static void add_tiles(const PreparedSample& sample, Tiles& tiles) {
    for (const TrainingTile& tile : sample.tiles) tiles.push_back(&tile);
  }

  void start(const ModelState* base) {
    spec_ = measure_input(all_);
    if (base == nullptr) {
      net_ = make_initial_net(spec_.planes(), count(), kSeed);
      return;
    }
    const bool colour = spec_.colour || base->input.colour;
    spec_ = base->input;  // what the weights are used to
    spec_.colour = colour;
    only_known_categories_ = base->categories == categories_;
    const std::vector<int> places = places_of(base->categories, categories_);
    net_ = grow_net(base->net, spec_.planes(), count(), places, kSeed);
    for (const TrainingTile& tile : base->exemplars) {
      rehearsed_.push_back(renumbered(tile, places));
    }
  }

  /// Returns the score after the last round.
  double run_rounds(int& steps) {
    Tiles taught;
    const std::vector<bool> held = choose_held_out(samples_, count());
    const Tiles judging = choose_judging(samples_, held, count());
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      if (!held[i]) add_tiles(samples_[i], taught);
    }
    double score = 0;
    if (only_known_categories_) {
      score = mean_iou(measure_overlap(Predictor(net_, spec_), judging, pool_));
      if (score >= kGoodScore) effort_ = kTouchedUp;
    }
    for (int round = 0; round < effort_.max_rounds; ++round) {
      nn::TrainingPlan plan = base_plan(effort_.round_steps, kSeed + 1 + round);
      plan.warm_up = round == 0 ? 0.3 : 0.05;
      plan.final_rate = 1.0;
      run_plan(plan, taught);
      steps += effort_.round_steps;
      const double before = score;
      score = mean_iou(measure_overlap(Predictor(net_, spec_), judging, pool_));
      if (score >= kGoodScore && score - before < kLeastGain) break;
    }
    return score;
  }

  void run_finish(int steps) {
    nn::TrainingPlan plan = base_plan(steps, kSeed + 1000);
    plan.warm_up = 0.05;
    plan.final_rate = 0.01;
    run_plan(plan, all_);
  }

  nn::TrainingPlan base_plan(int steps, std::uint64_t seed) const {
    nn::TrainingPlan plan;
    plan.steps = steps;
    plan.chunks = kChunks;
    plan.seed = seed;
    plan.peak_rate = effort_.peak_rate;
    plan.average_decay = 0.98;
    return plan;
  }

  void run_plan(const nn::TrainingPlan& plan, const Tiles& tiles) {
    Tiles old;
    for (const TrainingTile& tile : rehearsed_) old.push_back(&tile);
    const int side = choose_crop_side(all_);
    const CropSource fresh(tiles, side, count(), spec_);
    const CropSource rehearsed(old, side, count(), spec_);
    std::vector<const CropSource*> sources{&fresh};
    if (!old.empty()) sources.push_back(&rehearsed);
    nn::train(
        net_, {kCropsPerChunk, side, side},
        [&](nn::ChunkPass& pass, int, int, core::Random& random) {
          return chunk_loss(pass, spec_, sources, side, count(), random);
        },
        plan, pool_);
  }

  std::vector<std::string> categories_;
  std::vector<PreparedSample> samples_;
  Effort effort_;
  core::WorkerPool& pool_;
  Tiles all_;
  bool only_known_categories_ = false;
  std::vector<TrainingTile> rehearsed_;  // exemplars of the base, renumbered
  InputSpec spec_;
  nn::Network net_;
};

}  // namespace

TrainedModel train_model(const ModelState* base, const std::vector<std::string>& categories,
                         std::vector<PreparedSample> samples, core::WorkerPool& pool) {
  return Trainer(base, categories, std::move(samples), pool).run();
}

}  // namespace telvar::segmenter

#include "segmenter/fine_training.h"

#include <numeric>

#include "segmenter/base.h"
#include "segmenter/network/network.h"
#include "segmenter/network_training.h"

namespace telvar::segmenter {
namespace {

/// Of the crops: they show no context, so that what can be told without is.
constexpr float kWithoutContext = 0.25f;

/// Shares of a round's steps in which the rate rises: weights that know nothing are thrown about by
/// a full rate; those that go on have only to fill the optimiser's means.
constexpr double kFirstWarmUp = 0.3, kWarmUp = 0.05;

/// Of the rate, that is left at the end of a fall.
constexpr double kFallenRate = 0.01;

std::vector<int> first_numbers(int count) {
  std::vector<int> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

nn::TrainingPlan plan_of(const TrainingTask& task, int steps, std::uint64_t seed) {
  nn::TrainingPlan plan;
  plan.steps = steps;
  plan.seed = seed;
  plan.peak_rate = task.effort.peak_rate;
  return plan;
}

CropStyle crop_style(const TrainingSet& set, const Networks& networks) {
  CropStyle style;
  if (!networks.context.empty()) style.maps = &networks.maps;
  style.left_out = kWithoutContext;
  style.fades = true;
  if (set.few) style.strength = Strength::kOfFewImages;
  style.mixes = set.few;
  return style;
}

void teach(const TrainingTask& task, const nn::TrainingPlan& plan, const Tiles& tiles,
           Networks& networks) {
  const TrainingSet& set = task.set;
  Tiles old;
  for (const TrainingTile& tile : set.rehearsed) old.push_back(&tile);
  const int side = choose_crop_side(set.all);
  const CropStyle style = crop_style(set, networks);
  train_network(networks.fine,
                {CropSource(tiles, side, set.count(), set.input(), style),
                 CropSource(old, side, set.count(), set.input(), style), !old.empty()},
                plan, task.pool);
}

/// At a rate that falls from a share of the peak to next to nothing.
void teach_falling(const TrainingTask& task, int steps, double rate, std::uint64_t seed,
                   const Tiles& tiles, Networks& networks) {
  nn::TrainingPlan plan = plan_of(task, steps, seed);
  plan.peak_rate *= rate;
  plan.warm_up = kWarmUp;
  plan.final_rate = kFallenRate;
  teach(task, plan, tiles, networks);
}

}  // namespace

Networks initial_networks(const TrainingSet& set) {
  return {make_net_from(built_in_base(), set.input().planes(), set.count(), kSeed), {}, {}};
}

/// Planes that are new, of hues or of categories, come between those of the base.
Networks grown_networks(const SegmenterState& base, const TrainingSet& set) {
  const std::vector<int> places = places_of(base.categories, set.categories);
  const std::vector<int> own = first_numbers(base.input.planes());
  const int planes = set.input().planes();
  Networks networks;
  networks.context.positions = base.context.positions;
  networks.context.side = base.context.side;
  std::vector<int> inputs = own;
  for (int i = 0; i < kPositionPlanes; ++i) inputs.push_back(planes + i);
  for (const nn::Network& net : base.context.nets) {
    networks.context.nets.push_back(
        grow_net(net, {planes + kPositionPlanes, inputs}, {set.count(), places}, kSeed + 100));
  }
  const bool has_context = !networks.context.empty();
  if (has_context) {
    inputs = own;
    for (const int place : places) inputs.push_back(planes + place);
  }
  inputs.resize(base.net.input_channels());
  networks.fine = grow_net(base.net, {planes + (has_context ? set.count() : 0), inputs},
                           {set.count(), places}, kSeed);
  return networks;
}

nn::Network with_context_planes(const nn::Network& fine, const TrainingSet& set) {
  const int planes = set.input().planes();
  return grow_net(fine, {planes + set.count(), first_numbers(planes)},
                  {set.count(), first_numbers(set.count())}, kSeed);
}

void teach_round(const TrainingTask& task, int round, const Tiles& tiles, Networks& networks) {
  nn::TrainingPlan plan = plan_of(task, task.effort.round_steps, kSeed + 1 + round);
  plan.warm_up = round == 0 ? kFirstWarmUp : kWarmUp;
  plan.final_rate = 1.0;
  teach(task, plan, tiles, networks);
}

void settle(const TrainingTask& task, const Tiles& tiles, Networks& networks) {
  teach_falling(task, task.effort.settling_steps, 1.0, kSeed + 1001, tiles, networks);
}

void finish(const TrainingTask& task, Networks& networks) {
  teach_falling(task, task.effort.finish_steps, task.effort.finish_rate, kSeed + 1000, task.set.all,
                networks);
}

std::vector<Overlap> measure(const TrainingTask& task, const Tiles& tiles,
                             const Networks& networks) {
  return measure_overlap(Predictor(networks.fine, task.set.input()), tiles, networks.maps,
                         task.pool);
}

}  // namespace telvar::segmenter

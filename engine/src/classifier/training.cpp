#include "classifier/training.h"

#include <algorithm>

#include "classifier/evaluation.h"
#include "classifier/features/orders.h"
#include "classifier/inference.h"
#include "classifier/limits.h"
#include "classifier/network.h"
#include "classifier/network_training.h"
#include "classifier/symmetry_search.h"

namespace telvar::classifier {
namespace {

constexpr std::uint64_t kSeed = 0x636C617373u;  // any constant: keys the random numbers
// Samples that the kernel and the symmetries are chosen by; the cost grows with their square.
constexpr int kProbeSamples = 500;

nn::Network first_weights(const TrainingSet& set, const Canvas& canvas,
                          const ClassifierState* before, int number) {
  nn::Network net = network_layers(canvas, static_cast<int>(set.categories.size()));
  core::Random random({kSeed, static_cast<std::uint64_t>(number)});
  net.initialise(random);
  if (before != nullptr) net.adopt(before->nets[number], "head", set.old_places);
  return net;
}

/// The samples outside a network's fold. An artifact may have had them all held out; then there is
/// no use in holding out any.
std::vector<int> members_for(const TrainingSet& set, int number) {
  std::vector<int> members, all;
  for (std::size_t i = 0; i < set.samples.size(); ++i) {
    all.push_back(static_cast<int>(i));
    if (set.folds[i] != number) members.push_back(static_cast<int>(i));
  }
  return members.empty() ? all : members;
}

/// Every network learns from the samples outside its fold, side by side.
void train_networks(const TrainingSet& set, const ClassifierState* before, int nets, int effort,
                    core::TrainingPool& pool, ClassifierState& state) {
  state.nets.resize(nets);
  std::vector<NetworkTask> tasks(nets);
  double steps = 0;
  for (int number = 0; number < nets; ++number) {
    NetworkTask& task = tasks[number];
    task.samples = &set.samples;
    task.labels = &set.labels;
    task.canvas = state.canvas;
    task.symmetry = state.symmetry;
    task.categories = static_cast<int>(set.categories.size());
    task.effort = effort;
    task.fine_tunes = before != nullptr;
    task.seed = kSeed + static_cast<std::uint64_t>(number);
    task.members = members_for(set, number);
    steps += training_steps(task);
  }
  pool.monitor().expect(steps);
  pool.run(nets, [&](int number) {
    state.nets[number] = first_weights(set, state.canvas, before, number);
    train_network(state.nets[number], tasks[number], pool);
  });
  build_inference(state);
}

/// A balanced choice of samples, large enough to choose a kernel and to find symmetries by.
struct Probe {
  std::vector<const Sample*> samples;
  std::vector<int> labels;
};

Probe probe_of(const TrainingSet& set) {
  Probe probe;
  const std::size_t count = std::min<std::size_t>(kProbeSamples, set.exemplars.size());
  for (std::size_t k = 0; k < count; ++k) {
    probe.samples.push_back(&set.samples[set.exemplars[k]]);
    probe.labels.push_back(set.labels[set.exemplars[k]]);
  }
  return probe;
}

/// Trains the kernel machine on the exemplars; returns the held-out answer for `held_out`: by
/// leaving one out where the sample is a landmark, plainly where it is not.
KernelAnswer train_kernel(const TrainingSet& set, const std::vector<int>& held_out,
                          const KernelChoice& choice, core::WorkerPool& pool,
                          ClassifierState& state) {
  const int categories = static_cast<int>(set.categories.size());
  std::vector<int> landmarks = set.exemplars, labels;
  landmarks.resize(std::min<std::size_t>(landmarks.size(), kMaxLandmarks));
  for (const int i : landmarks) labels.push_back(set.labels[i]);
  const std::vector<const Sample*> samples = pointers(set, landmarks);
  const FeatureGroups wanted = choice.groups().set(kCovariance);  // which novelty rests on
  KernelAnswer of_landmarks;
  state.has_kernel = true;
  state.kernel = KernelMachine::learn(choice, describe_all(samples, state.canvas, wanted, pool),
                                      orders_under(state.canvas, transforms_of(state.symmetry)),
                                      labels, categories, pool, of_landmarks);
  std::vector<int> landmark(set.samples.size(), -1), others;
  for (std::size_t k = 0; k < landmarks.size(); ++k) landmark[landmarks[k]] = static_cast<int>(k);
  for (const int i : held_out) {
    if (landmark[i] < 0) others.push_back(i);
  }
  const KernelAnswer plain = kernel_answer(state, pointers(set, others), pool);
  const int rows = static_cast<int>(held_out.size());
  KernelAnswer out = KernelAnswer::of(rows, categories, true);
  int next = 0;
  for (int row = 0; row < rows; ++row) {
    const int k = landmark[held_out[row]];
    out.copy_row(row, k >= 0 ? of_landmarks : plain, k >= 0 ? k : next++);
  }
  return out;
}

}  // namespace

TrainedClassifier train_classifier(const TrainingSet& set, const Canvas& canvas,
                                   const ClassifierState* before, int nets, int effort,
                                   core::TrainingPool& pool) {
  TrainedClassifier trained;
  ClassifierState& state = trained.state;
  state.categories = set.categories;
  state.canvas = canvas;
  for (const int i : set.exemplars) {
    state.exemplars.push_back({set.labels[i], set.folds[i], set.samples[i]});
  }
  const int categories = static_cast<int>(set.categories.size());
  const Probe probe = probe_of(set);
  const std::vector<Features> probed = describe_all(probe.samples, canvas, kEveryGroup, pool);
  const auto choose = [&] {
    return choose_kernel(probed, probe.labels, categories,
                         orders_under(canvas, transforms_of(state.symmetry)), pool);
  };
  KernelChoice choice = choose();
  state.symmetry = find_symmetry(probed, probe.labels, canvas, choice, categories, pool);
  if (nets > 1 && transforms_of(state.symmetry).size() > 1) choice = choose();
  train_networks(set, before, nets, effort, pool, state);
  std::vector<int> held_out, labels;
  for (std::size_t i = 0; i < set.samples.size(); ++i) {
    if (set.folds[i] >= nets) continue;
    held_out.push_back(static_cast<int>(i));
    labels.push_back(set.labels[i]);
  }
  const Matrix logits = held_out_logits(set, state, held_out, pool);
  KernelAnswer kernel;
  if (nets > 1) kernel = train_kernel(set, held_out, choice, pool, state);
  if (!labels.empty()) state.stacking = fit_stacking(logits, kernel.scores, labels);
  const Matrix scores = stacked_scores(state.stacking, logits, kernel.scores);
  trained.held_out_accuracy = accuracy(scores, labels);
  if (state.has_kernel) state.novelty = measure_novelty(scores, kernel, labels);
  return trained;
}

}  // namespace telvar::classifier

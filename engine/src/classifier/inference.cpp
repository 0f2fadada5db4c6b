#include "classifier/inference.h"

#include <algorithm>

namespace telvar::classifier {

void build_inference(ClassifierState& state) {
  state.answers.clear();
  for (const nn::Network& net : state.nets) state.answers.emplace_back(net, state.canvas);
}

void prepare_for_inference(ClassifierState& state) {
  build_inference(state);
  state.exemplars = {};
  state.nets = {};
}

std::vector<Features> describe_all(const std::vector<const Sample*>& samples, const Canvas& canvas,
                                   const FeatureGroups& wanted, core::WorkerPool& pool) {
  constexpr std::size_t kBlock = 32;
  std::vector<Features> features(samples.size());
  pool.run(static_cast<int>((samples.size() + kBlock - 1) / kBlock), [&](int block) {
    const std::size_t first = block * kBlock;
    for (std::size_t i = first; i < std::min(samples.size(), first + kBlock); ++i) {
      features[i] = describe(*samples[i], canvas, wanted);
    }
  });
  return features;
}

Matrix mean_logits(const ClassifierState& state, const std::vector<const Sample*>& samples,
                   core::WorkerPool& pool) {
  const int categories = static_cast<int>(state.categories.size());
  Matrix mean(static_cast<int>(samples.size()), categories);
  for (const NetworkInference& net : state.answers) {
    const Matrix logits = net.logits(samples, pool);
    for (int i = 0; i < mean.rows(); ++i) {
      for (int c = 0; c < categories; ++c) {
        mean.at(i, c) += logits.at(i, c) / static_cast<float>(state.answers.size());
      }
    }
  }
  return mean;
}

KernelAnswer kernel_answer(const ClassifierState& state, const std::vector<const Sample*>& samples,
                           core::WorkerPool& pool) {
  constexpr std::size_t kBlock = 1024;
  const int rows = static_cast<int>(samples.size());
  const int categories = static_cast<int>(state.categories.size());
  KernelAnswer answer = KernelAnswer::of(rows, categories, state.kernel.compares_covariances());
  for (std::size_t first = 0; first < samples.size(); first += kBlock) {
    const std::vector<const Sample*> block(
        samples.begin() + first, samples.begin() + std::min(samples.size(), first + kBlock));
    const KernelAnswer found =
        state.kernel.answer(describe_all(block, state.canvas, state.kernel.groups(), pool), pool);
    for (int i = 0; i < found.scores.rows(); ++i) {
      answer.copy_row(static_cast<int>(first) + i, found, i);
    }
  }
  return answer;
}

Matrix scores_of(const ClassifierState& state, const std::vector<const Sample*>& samples,
                 core::WorkerPool& pool) {
  KernelAnswer kernel;
  if (state.has_kernel) kernel = kernel_answer(state, samples, pool);
  Matrix scores = stacked_scores(state.stacking, mean_logits(state, samples, pool), kernel.scores);
  if (state.novelty) flatten(*state.novelty, kernel, scores);
  return scores;
}

}  // namespace telvar::classifier

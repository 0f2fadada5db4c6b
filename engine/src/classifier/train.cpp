#include <optional>

#include "classifier/dataset.h"
#include "classifier/inference.h"
#include "classifier/result.h"
#include "classifier/train_cache.h"
#include "classifier/training.h"
#include "core/library_threads.h"
#include "core/messages.h"
#include "telvar/classifier.h"

namespace telvar::qv::classifier {
namespace {

namespace engine = telvar::classifier;
namespace messages = telvar_msg::qv::classification;

std::vector<engine::Sample> place_all(const std::vector<engine::Thumbnail>& thumbnails,
                                      const engine::Canvas& canvas, core::WorkerPool& pool) {
  constexpr int kBlock = 64;
  const int count = static_cast<int>(thumbnails.size());
  std::vector<engine::Sample> samples(thumbnails.size());
  pool.run((count + kBlock - 1) / kBlock, [&](int block) {
    for (int i = block * kBlock; i < std::min(count, (block + 1) * kBlock); ++i) {
      samples[i] = engine::letterbox(thumbnails[i], canvas);
    }
  });
  return samples;
}

std::string result_of(const engine::TrainedClassifier& trained, const engine::TrainingSet& set,
                      const std::vector<engine::DatasetEntry>& entries, core::WorkerPool& pool) {
  std::vector<const engine::Sample*> samples;
  for (std::size_t i = 0; i < set.from_dataset; ++i) samples.push_back(&set.samples[i]);
  const engine::Matrix scores = engine::scores_of(trained.state, samples, pool);
  core::ArenaMessage<messages::TrainingResult> result;
  result->set_overall_score(static_cast<float>(trained.held_out_accuracy));
  for (std::size_t i = 0; i < set.from_dataset; ++i) {
    engine::fill_sample_result(trained.state.categories, scores.row(static_cast<int>(i)),
                               (*result->mutable_samples())[entries[i].key]);
  }
  return core::serialised(*result, "training the classifier");
}

std::tuple<std::string, std::string> train_checked(const std::string& artifact,
                                                   const std::string& dataset,
                                                   const std::string& parameters,
                                                   const types::ImageLoader& loader,
                                                   TrainCache& cache, core::Monitor& monitor) {
  core::TrainingPool pool(monitor);
  const int effort = engine::parse_effort(parameters);
  const std::vector<engine::DatasetEntry> entries = engine::parse_dataset(dataset);
  std::optional<engine::ClassifierState> before;
  if (!artifact.empty()) before = engine::read_state(artifact, pool);
  const engine::ClassifierState* former = before ? &*before : nullptr;
  engine::check_counts(entries, former);
  const int side = before ? before->canvas.thumbnail_side
                          : engine::thumbnail_side_for(static_cast<int>(entries.size()));
  core::CacheSession session(cache.impl().store);
  std::vector<engine::Thumbnail> thumbnails =
      engine::ThumbnailLoader(loader, session, pool, side).load(entries, 0, entries.size());
  engine::Canvas canvas = before ? before->canvas : engine::choose_canvas(thumbnails);
  std::vector<engine::Sample> samples = place_all(thumbnails, canvas, pool);
  thumbnails = {};
  if (!before) engine::measure_levels(canvas, samples);
  const int nets =
      before ? static_cast<int>(before->nets.size()) : engine::nets_for(samples.size());
  const engine::TrainingSet set = engine::join_samples(entries, std::move(samples), former, nets);
  const engine::TrainedClassifier trained =
      engine::train_classifier(set, canvas, former, nets, effort, pool);
  std::tuple<std::string, std::string> answer(result_of(trained, set, entries, pool),
                                              engine::write_state(trained.state));
  session.commit();
  return answer;
}

}  // namespace

std::tuple<std::string, std::string> train(const std::string& artifact, const std::string& dataset,
                                           const std::string& parameters,
                                           const types::ImageLoader& loader, TrainCache& cache) {
  core::LibraryThreadScope scope;
  core::Monitor monitor(loader, scope);
  return train_checked(artifact, dataset, parameters, scope.in_host_mode(loader), cache, monitor);
}

}  // namespace telvar::qv::classifier

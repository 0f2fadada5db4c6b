#include "classifier/dataset.h"
#include "classifier/inference.h"
#include "classifier/result.h"
#include "classifier/state.h"
#include "classifier/train_cache.h"
#include "core/library_threads.h"
#include "core/messages.h"
#include "telvar/classifier.h"

namespace telvar::qv::classifier {
namespace {

namespace engine = telvar::classifier;
namespace messages = telvar_msg::qv::classification;

constexpr std::size_t kBatch = 200;  // samples in memory at once

void process_batch(const engine::ClassifierState& state,
                   const std::vector<engine::DatasetEntry>& entries, std::size_t first,
                   const std::vector<engine::Thumbnail>& thumbnails, core::WorkerPool& pool,
                   messages::ProcessingResult& result) {
  std::vector<engine::Sample> samples;
  std::vector<const engine::Sample*> pointers;
  samples.reserve(thumbnails.size());
  pointers.reserve(thumbnails.size());
  for (const auto& thumbnail : thumbnails) samples.push_back(letterbox(thumbnail, state.canvas));
  for (const auto& sample : samples) pointers.push_back(&sample);
  const engine::Matrix scores = engine::scores_of(state, pointers, pool);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    engine::fill_sample_result(state.categories, scores.row(static_cast<int>(i)),
                               (*result.mutable_samples())[entries[first + i].key]);
  }
}

std::string process_checked(const std::string& artifact, const std::string& dataset,
                            const types::ImageLoader& loader, TrainCache& cache,
                            core::Monitor& monitor) {
  core::WorkerPool pool(monitor.threads());
  engine::ClassifierState state = engine::read_state(artifact, pool);
  engine::prepare_for_inference(state);
  const std::vector<engine::DatasetEntry> entries = engine::parse_batch(dataset);
  core::CacheSession session(cache.impl().store);
  engine::ThumbnailLoader thumbnails(loader, session, pool, state.canvas.thumbnail_side);
  core::ArenaMessage<messages::ProcessingResult> result;
  for (std::size_t first = 0; first < entries.size(); first += kBatch) {
    const std::size_t last = std::min(entries.size(), first + kBatch);
    process_batch(state, entries, first, thumbnails.load(entries, first, last), pool, *result);
  }
  std::string answer = core::serialised(*result, "classifying a batch");
  session.commit();
  return answer;
}

}  // namespace

std::string process(const std::string& artifact, const std::string& dataset,
                    const types::ImageLoader& loader, TrainCache& cache) {
  core::LibraryThreadScope scope;
  core::Monitor monitor(loader, scope);
  return process_checked(artifact, dataset, scope.in_host_mode(loader), cache, monitor);
}

}  // namespace telvar::qv::classifier

#include <algorithm>
#include <optional>

#include "core/categories.h"
#include "core/library_threads.h"
#include "segmenter/dataset.h"
#include "segmenter/held_out.h"
#include "segmenter/limits.h"
#include "segmenter/preparation.h"
#include "segmenter/state.h"
#include "segmenter/train_cache.h"
#include "segmenter/training.h"
#include "telvar/exceptions.h"
#include "telvar/segmenter.h"

namespace telvar::qv::segmenter {
namespace {

namespace engine = telvar::segmenter;

/// What is new must be shown at least once.
void check_occurrences(const std::vector<engine::PreparedSample>& samples,
                       const std::vector<std::string>& categories,
                       const std::vector<std::string>& old) {
  const auto counts = engine::count_occurrences(samples, static_cast<int>(categories.size()));
  for (std::size_t c = 0; c < categories.size(); ++c) {
    if (counts[c] > 0 || std::binary_search(old.begin(), old.end(), categories[c])) continue;
    throw types::insufficient_number_of_samples("dataset: category '" + categories[c] +
                                                "' has pixels in 0 samples; at least 1 is needed");
  }
}

std::tuple<std::string, std::string> train_checked(const std::string& artifact,
                                                   const std::string& dataset,
                                                   const std::string& parameters,
                                                   const types::ImageLoader& loader,
                                                   const types::ImageLoader& mask_loader,
                                                   TrainCache& cache, core::Monitor& monitor) {
  std::optional<engine::SegmenterState> base;
  if (!artifact.empty()) base = engine::read_state(artifact);
  engine::check_training_parameters(parameters);
  const auto request = engine::parse_training_dataset(dataset, base ? 1 : engine::kMinSamples);
  const std::vector<std::string> old = base ? base->categories : std::vector<std::string>{};
  const auto categories = core::join_categories(old, request.categories, engine::kMaxCategories);
  core::CacheSession session(cache.impl().store);
  const int overview_side = base ? base->context.side : engine::kOverviewSide;
  auto samples =
      engine::prepare_samples(request, categories, overview_side, loader, mask_loader, session);
  check_occurrences(samples, categories, old);
  core::TrainingPool pool(monitor);
  const auto trained =
      engine::train_model(base ? &*base : nullptr, categories, std::move(samples), pool);
  auto answer = std::make_tuple(engine::write_training_result(static_cast<float>(trained.score)),
                                engine::write_state(trained.state));
  session.commit();
  return answer;
}

}  // namespace

std::tuple<std::string, std::string> train(const std::string& artifact, const std::string& dataset,
                                           const std::string& parameters,
                                           const types::ImageLoader& loader,
                                           const types::ImageLoader& mask_loader, TrainCache& cache,
                                           const types::ResultImageWriter&) {
  core::LibraryThreadScope scope;
  core::Monitor monitor(loader, scope);
  return train_checked(artifact, dataset, parameters, scope.in_host_mode(loader),
                       scope.in_host_mode(mask_loader), cache, monitor);
}

}  // namespace telvar::qv::segmenter

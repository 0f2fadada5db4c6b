#include <algorithm>
#include <chrono>
#include <optional>

#include "core/cache_session.h"
#include "core/categories.h"
#include "core/library_threads.h"
#include "core/messages.h"
#include "ocr/dataset.h"
#include "ocr/limits.h"
#include "ocr/train_cache.h"
#include "ocr/training.h"
#include "telvar/ocr.h"
#include "telvar_msg/ocr_training.pb.h"

namespace telvar::qv::ocr {
namespace {

namespace msg = telvar_msg::qv::ocr;
namespace reader = telvar::ocr;

/// What one call of `train` has taken in.
struct Request {
  std::optional<reader::ReaderState> previous;
  reader::LabelledDataset dataset;
  std::vector<std::string> categories;           // of both
  std::vector<reader::PreparedSample> prepared;  // of the samples that have labels, in order
  std::size_t labels = 0;
};

void check_parameters(const std::string& parameters) {
  const core::ParsedMessage<msg::TrainingParameters> none_known(parameters,
                                                                "OCR training parameters");
}

Request take_in(const std::string& artifact, const std::string& dataset,
                const std::string& parameters) {
  check_parameters(parameters);
  Request request;
  request.dataset = reader::parse_dataset(dataset);
  if (!artifact.empty()) request.previous = reader::read_state(artifact);
  for (const auto& sample : request.dataset.samples) request.labels += sample.labels.size();
  if (request.labels < reader::kMinLabels) {
    throw types::insufficient_number_of_samples(
        "the data set has " + std::to_string(request.labels) + " labelled characters, at least " +
        std::to_string(reader::kMinLabels) + " are needed");
  }
  request.categories =
      core::join_categories(request.previous ? request.previous->categories() : core::Categories(),
                            request.dataset.categories, reader::kMaxCategories);
  return request;
}

/// Confidences by sample; samples without labels have none.
void add_confidences(const Request& request, const reader::TrainingOutcome& outcome,
                     msg::TrainingResult& result) {
  std::size_t next = 0;
  for (const reader::DatasetSample& sample : request.dataset.samples) {
    msg::LabeledSampleResult& labelled = (*result.mutable_labeled_sample_results())[sample.key];
    if (sample.labels.empty()) continue;
    for (const float confidence : outcome.confidences[next++]) {
      labelled.add_character_label_confidence(confidence);
    }
  }
}

std::tuple<std::string, std::string> run(Request request, const types::ImageLoader& loader,
                                         core::CacheSession& cache, core::Monitor& monitor) {
  const auto start = std::chrono::steady_clock::now();
  for (const reader::DatasetSample& sample : request.dataset.samples) {
    if (sample.labels.empty()) continue;
    request.prepared.push_back(
        reader::load_sample(sample, request.dataset.size, request.categories, loader, cache));
  }
  core::TrainingPool pool(monitor);
  const reader::TrainingOutcome outcome =
      reader::train_reader(std::move(request.previous), request.categories, request.dataset.size,
                           std::move(request.prepared), 0, pool);
  core::ArenaMessage<msg::TrainingResult> result;
  add_confidences(request, outcome, *result);
  result->set_result_value(outcome.recognition_rate);
  const std::chrono::nanoseconds time = std::chrono::steady_clock::now() - start;
  result->mutable_training_duration()->set_seconds(time.count() / 1'000'000'000);
  result->mutable_training_duration()->set_nanos(static_cast<int>(time.count() % 1'000'000'000));
  return {core::serialised(*result, "training the OCR reader"), reader::write_state(outcome.state)};
}

}  // namespace

std::tuple<std::string, std::string> train(const std::string& artifact, const std::string& dataset,
                                           const std::string& parameters,
                                           const types::ImageLoader& loader, TrainCache& cache) {
  core::LibraryThreadScope scope;
  core::CacheSession session(cache.impl().store);
  core::Monitor monitor(loader, scope);
  auto trained =
      run(take_in(artifact, dataset, parameters), scope.in_host_mode(loader), session, monitor);
  session.commit();
  return trained;
}

}  // namespace telvar::qv::ocr

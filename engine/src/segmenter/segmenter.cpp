#include "telvar/segmenter.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "core/exception_translation.h"
#include "core/library_threads.h"
#include "core/train_cache_store.h"
#include "segmenter/dataset.h"
#include "segmenter/held_out.h"
#include "segmenter/limits.h"
#include "segmenter/model_state.h"
#include "segmenter/predictor.h"
#include "segmenter/prepare.h"
#include "segmenter/trainer.h"
#include "telvar/exceptions.h"

namespace telvar::qv::segmenter {
namespace {

namespace impl = telvar::segmenter;

/// A model ready to segment: normalisation folded into the weights.
class Segmenter {
 public:
  Segmenter(const std::string& artifact, unsigned threads) : pool_(threads) {
    state_ = impl::read_model(artifact);
    const core::LibraryThreadScope scope;
    state_.exemplars.clear();
    impl::prepare_for_prediction(*state_.net);
  }

  std::map<std::string, types::Image> segment(const types::ImageView& image,
                                              const core::Region& region) const {
    const core::LibraryThreadScope scope;
    auto images = impl::predict_region(*state_.net, state_.input, image, region, pool_);
    std::map<std::string, types::Image> named;
    for (std::size_t i = 0; i < images.size(); ++i) {
      named.emplace(state_.categories[i], std::move(images[i]));
    }
    return named;
  }

 private:
  mutable core::WorkerPool pool_;
  impl::ModelState state_;
};

std::vector<std::string> joined(const std::vector<std::string>& old,
                                const std::vector<std::string>& listed) {
  std::vector<std::string> all;
  std::set_union(old.begin(), old.end(), listed.begin(), listed.end(), std::back_inserter(all));
  if (all.size() > impl::kMaxCategories) {
    throw types::invalid_dataset("dataset: " + std::to_string(all.size()) +
                                 " categories with those of the artifact; the limit is " +
                                 std::to_string(impl::kMaxCategories));
  }
  return all;
}

/// What is new must be shown at least once.
void check_occurrences(const std::vector<impl::PreparedSample>& samples,
                       const std::vector<std::string>& categories,
                       const std::vector<std::string>& old) {
  const auto counts = impl::count_occurrences(samples, static_cast<int>(categories.size()));
  for (std::size_t c = 0; c < categories.size(); ++c) {
    if (counts[c] > 0 || std::binary_search(old.begin(), old.end(), categories[c])) continue;
    throw types::insufficient_number_of_samples("dataset: category '" + categories[c] +
                                                "' has pixels in 0 samples; at least 1 is needed");
  }
}

}  // namespace

class Model::Impl {
 public:
  Impl(const std::string& artifact, const types::Device& device)
      : segmenter(artifact, core::threads_of(device)) {}

  Segmenter segmenter;
};

class TrainCache::Impl {
 public:
  explicit Impl(unsigned long long capacity) : store(core::Tool::kSegmenter, capacity) {}

  core::TrainCacheStore store;
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device) {
  if (!runtime_parameters.empty()) {
    throw types::invalid_parameters("segmenter: runtime parameters of " +
                                    std::to_string(runtime_parameters.size()) +
                                    " bytes; none are known");
  }
  impl_ = core::translated("loading a segmenter",
                           [&] { return std::make_unique<Impl>(artifact, device); });
}

Model::~Model() = default;

std::tuple<std::string, std::map<std::string, types::Image>> Model::process(
    const types::ImageView& image, const types::AffineTransform& transform,
    const types::Size2<unsigned>& size) const {
  return core::translated("segmenting", [&] {
    core::check_image(image, "image", impl::kImageLimits);
    const auto region = core::resolve_region(image, transform, size, "image", impl::kImageLimits);
    return std::make_tuple(impl::write_result(), impl_->segmenter.segment(image, region));
  });
}

TrainCache::TrainCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

TrainCache::~TrainCache() = default;

std::unique_ptr<TrainCache> TrainCache::create(bool, unsigned long long capacity) {
  return std::unique_ptr<TrainCache>(new TrainCache(std::make_unique<Impl>(capacity)));
}

void load(TrainCache& cache, std::istream& stream) {
  cache.impl().store.load(stream);
}

void save(const TrainCache& cache, std::ostream& stream) {
  cache.impl().store.save(stream);
}

std::tuple<std::string, std::string> train(const std::string& artifact, const std::string& dataset,
                                           const std::string& parameters,
                                           const types::ImageLoader& loader,
                                           const types::ImageLoader& mask_loader, TrainCache& cache,
                                           const types::ResultImageWriter&) {
  return core::translated("training a segmenter", [&] {
    std::optional<impl::ModelState> base;
    if (!artifact.empty()) base = impl::read_model(artifact);
    impl::check_training_parameters(parameters);
    const auto request =
        impl::parse_training_dataset(dataset, base.has_value() ? 1 : impl::kMinSamples);
    const std::vector<std::string> old =
        base.has_value() ? base->categories : std::vector<std::string>{};
    const auto categories = joined(old, request.categories);
    core::CacheSession session(cache.impl().store);
    auto samples = impl::prepare_samples(request, categories, core::passing(loader),
                                         core::passing(mask_loader), session);
    const core::LibraryThreadScope scope;  // not around the loaders, which are the host's
    check_occurrences(samples, categories, old);
    core::WorkerPool pool;
    const auto trained = impl::train_model(base.has_value() ? &*base : nullptr, categories,
                                           std::move(samples), pool);
    auto answer = std::make_tuple(impl::write_training_result(static_cast<float>(trained.score)),
                                  impl::write_model(trained.state));
    session.commit();
    return answer;
  });
}

std::string process(const std::string& artifact, const std::string& dataset,
                    const types::ImageLoader& loader, const types::ResultImageWriter& writer,
                    TrainCache&) {
  return core::translated("segmenting a batch", [&] {
    const Segmenter segmenter(artifact, 0);
    const types::ImageLoader load = core::passing(loader);
    const types::ResultImageWriter write = core::passing(writer);
    for (const impl::SampleRequest& request : impl::parse_batch_dataset(dataset)) {
      const impl::LoadedImage loaded = impl::load_image(request, load);
      auto images = segmenter.segment(types::ImageView(loaded.image), loaded.region);
      for (auto& [category, image] : images) {
        write(std::move(image), request.image_id, category);
      }
    }
    return impl::write_result();
  });
}

}  // namespace telvar::qv::segmenter

#include "telvar/classifier.h"

#include "engine_state.h"

namespace telvar::qv::classifier {

namespace engine = scripted_engine;

class Model::Impl : public engine::ModelState {
  using ModelState::ModelState;
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device)
    : impl_(std::make_unique<Impl>("classifier", artifact, runtime_parameters, device)) {}
Model::~Model() = default;

std::string Model::process(const types::ImageView& image, const types::AffineTransform& transform,
                           const types::Size2<unsigned>& size) const {
  impl_->process(image, transform, size);
  return engine::answer("classifier.process");
}

class TrainCache::Impl : public engine::CacheState {
  using CacheState::CacheState;
};

TrainCache::TrainCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
TrainCache::~TrainCache() = default;

std::unique_ptr<TrainCache> TrainCache::create(bool keep_images) {
  engine::Call& call = engine::record("classifier.cache.create");
  call.keep_images = keep_images;
  engine::raise_scripted("classifier.cache.create");
  auto impl = std::make_unique<Impl>("classifier");
  call.object = impl->number();
  return std::unique_ptr<TrainCache>(new TrainCache(std::move(impl)));
}

void load(TrainCache& cache, std::istream& stream) {
  cache.impl().load(stream);
}
void save(const TrainCache& cache, std::ostream& stream) {
  cache.impl().save(stream);
}

std::tuple<std::string, std::string> train(const std::string& artifact, const std::string& dataset,
                                           const std::string& parameters,
                                           const types::ImageLoader& loader, TrainCache& cache) {
  engine::Call& call =
      engine::begin_run("classifier.train", {artifact, dataset, loader, cache.impl()});
  call.parameters = parameters;
  engine::end_run("classifier.train", cache.impl());
  return {engine::answer("classifier.train"), engine::script().new_artifact};
}

std::string process(const std::string& artifact, const std::string& dataset,
                    const types::ImageLoader& loader, TrainCache& cache) {
  engine::begin_run("classifier.batch", {artifact, dataset, loader, cache.impl()});
  engine::end_run("classifier.batch", cache.impl());
  engine::refuse_empty_artifact(artifact);
  return engine::answer("classifier.batch");
}

}  // namespace telvar::qv::classifier

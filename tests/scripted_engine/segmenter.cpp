#include "telvar/segmenter.h"

#include "engine_state.h"

namespace telvar::qv::segmenter {

namespace engine = scripted_engine;

class Model::Impl : public engine::ModelState {
  using ModelState::ModelState;
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device)
    : impl_(std::make_unique<Impl>("segmenter", artifact, runtime_parameters, device)) {}
Model::~Model() = default;

std::tuple<std::string, std::map<std::string, types::Image>> Model::process(
    const types::ImageView& image, const types::AffineTransform& transform,
    const types::Size2<unsigned>& size) const {
  impl_->process(image, transform, size);
  // Moved, as an engine hands out what it made: whoever counts copies sees the caller's alone.
  return {engine::answer("segmenter.process"), std::move(engine::script().result_images)};
}

class TrainCache::Impl : public engine::CacheState {
  using CacheState::CacheState;
};

TrainCache::TrainCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
TrainCache::~TrainCache() = default;

std::unique_ptr<TrainCache> TrainCache::create(bool keep_images, unsigned long long capacity) {
  engine::Call& call = engine::record("segmenter.cache.create");
  call.keep_images = keep_images;
  call.capacity = capacity;
  engine::raise_scripted("segmenter.cache.create");
  auto impl = std::make_unique<Impl>("segmenter");
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
                                           const types::ImageLoader& loader,
                                           const types::ImageLoader& mask_loader, TrainCache& cache,
                                           const types::ResultImageWriter& writer) {
  engine::Call& call =
      engine::begin_run("segmenter.train", {artifact, dataset, loader, cache.impl()});
  call.parameters = parameters;
  call.has_writer = static_cast<bool>(writer);
  engine::ask(engine::script().ask_masks, mask_loader, call.masks);
  engine::end_run("segmenter.train", cache.impl());
  return {engine::answer("segmenter.train"), engine::script().new_artifact};
}

std::string process(const std::string& artifact, const std::string& dataset,
                    const types::ImageLoader& loader, const types::ResultImageWriter& writer,
                    TrainCache& cache) {
  engine::Call& call =
      engine::begin_run("segmenter.batch", {artifact, dataset, loader, cache.impl()});
  call.has_writer = static_cast<bool>(writer);
  for (engine::Written& written : engine::script().write) {
    call.writer_returned.push_back(
        writer(std::move(written.image), written.image_id, written.name));
  }
  engine::script().write.clear();
  engine::end_run("segmenter.batch", cache.impl());
  engine::refuse_empty_artifact(artifact);
  return engine::answer("segmenter.batch");
}

}  // namespace telvar::qv::segmenter

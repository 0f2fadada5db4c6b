#include "telvar/ocr.h"

#include "engine_state.h"

namespace telvar::qv::ocr {

namespace engine = scripted_engine;

class Model::Impl : public engine::ModelState {
  using ModelState::ModelState;
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device)
    : impl_(std::make_unique<Impl>("ocr", artifact, runtime_parameters, device)) {}
Model::~Model() = default;

std::string Model::process(const types::ImageView& image, const types::AffineTransform& transform,
                           const types::Size2<unsigned>& size) const {
  impl_->process(image, transform, size);
  return engine::answer("ocr.process");
}

class TrainCache::Impl : public engine::CacheState {
  using CacheState::CacheState;
};

TrainCache::TrainCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
TrainCache::~TrainCache() = default;

std::unique_ptr<TrainCache> TrainCache::create(unsigned long long capacity) {
  engine::Call& call = engine::record("ocr.cache.create");
  call.capacity = capacity;
  engine::raise_scripted("ocr.cache.create");
  auto impl = std::make_unique<Impl>("ocr");
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
  engine::Call& call = engine::begin_run("ocr.train", {artifact, dataset, loader, cache.impl()});
  call.parameters = parameters;
  engine::end_run("ocr.train", cache.impl());
  return {engine::answer("ocr.train"), engine::script().new_artifact};
}

std::vector<std::vector<std::size_t>> sort_characters(
    const std::vector<std::pair<float, float>>& points, float height) {
  engine::Call& call = engine::record("ocr.sort");
  call.points = points;
  call.value = height;
  engine::raise_scripted("ocr.sort");
  return engine::script().sorted;
}

class Fielding::Impl {};

Fielding::Fielding(const std::string& fielding) : impl_(std::make_unique<Impl>()) {
  engine::record("ocr.fielding").bytes = fielding;
  engine::raise_scripted("ocr.fielding");
}
Fielding::~Fielding() = default;

std::pair<std::string, std::string> Fielding::apply(const std::string& sample) const {
  engine::record("ocr.apply").bytes = sample;
  engine::raise_scripted("ocr.apply");
  return engine::script().fielded;
}

}  // namespace telvar::qv::ocr

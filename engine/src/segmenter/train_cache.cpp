#include "segmenter/train_cache.h"

namespace telvar::qv::segmenter {

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

}  // namespace telvar::qv::segmenter

#include "ocr/train_cache.h"

#include <limits>

namespace telvar::qv::ocr {

std::unique_ptr<TrainCache> TrainCache::create(unsigned long long capacity) {
  const bool unlimited = capacity == std::numeric_limits<unsigned long long>::max();
  return std::unique_ptr<TrainCache>(
      new TrainCache(std::make_unique<Impl>(unlimited ? core::kDefaultCacheCapacity : capacity)));
}

TrainCache::TrainCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

TrainCache::~TrainCache() = default;

void load(TrainCache& cache, std::istream& stream) {
  cache.impl().store.load(stream);
}

void save(const TrainCache& cache, std::ostream& stream) {
  cache.impl().store.save(stream);
}

}  // namespace telvar::qv::ocr

#pragma once

// The segmenter's cache: training tiles by image identifier and digest.

#include "core/train_cache_store.h"
#include "telvar/segmenter.h"

namespace telvar::qv::segmenter {

class TrainCache::Impl {
 public:
  explicit Impl(unsigned long long capacity) : store(core::Tool::kSegmenter, capacity) {}

  core::TrainCacheStore store;
};

}  // namespace telvar::qv::segmenter

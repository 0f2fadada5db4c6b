#pragma once

#include "core/train_cache_store.h"
#include "telvar/ocr.h"

namespace telvar::qv::ocr {

class TrainCache::Impl {
 public:
  explicit Impl(std::uint64_t capacity) : store(core::Tool::kOcr, capacity) {}

  core::TrainCacheStore store;
};

}  // namespace telvar::qv::ocr

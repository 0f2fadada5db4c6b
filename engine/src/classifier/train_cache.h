#pragma once

// The classifier's cache: thumbnails by image identifier and digest.

#include "core/train_cache_store.h"
#include "telvar/classifier.h"

namespace telvar::qv::classifier {

class TrainCache::Impl {
 public:
  explicit Impl(bool keep_images)
      : store(core::Tool::kClassifier, keep_images, ~std::uint64_t{0}) {}

  core::TrainCacheStore store;
};

}  // namespace telvar::qv::classifier

#pragma once

// The classifier's cache: thumbnails by image identifier and digest.

#include "core/train_cache_store.h"
#include "telvar/classifier.h"

namespace telvar::qv::classifier {

class TrainCache::Impl {
 public:
  core::TrainCacheStore store{core::Tool::kClassifier, ~std::uint64_t{0}};
};

}  // namespace telvar::qv::classifier

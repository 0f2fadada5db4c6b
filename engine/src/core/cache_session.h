#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/train_cache_store.h"

namespace telvar::core {

/// One call's view of a cache: reads through, and changes it only when committed, so that a call
/// that fails half-way leaves the cache as it was. Holds back no more than the cache may hold.
class CacheSession {
 public:
  explicit CacheSession(TrainCacheStore& store) : store_(store) {}

  TrainCacheStore::Blob find(const CacheKey& key);
  void put(const CacheKey& key, std::string blob);
  /// When memory runs out, the cache has not changed.
  void commit();
  /// Bytes that the entries to be added and their keys take.
  std::uint64_t bytes() const { return bytes_; }

 private:
  void drop_oldest();

  TrainCacheStore& store_;
  std::vector<std::pair<CacheKey, TrainCacheStore::Blob>> changes_;  // null blob: used
  std::size_t oldest_ = 0;  // no change before it has a blob
  std::uint64_t bytes_ = 0;
};

}  // namespace telvar::core

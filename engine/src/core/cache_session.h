#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/bytes.h"
#include "core/train_cache_store.h"

namespace telvar::core {

/// One call's view of a cache. It finds what the cache holds, and changes the cache only when it is
/// committed, so that a call that fails half-way leaves the cache as it was. The entries that wait
/// for that take no more memory than the cache may: the oldest are dropped.
class CacheSession {
 public:
  explicit CacheSession(TrainCacheStore& store) : store_(store) {}

  TrainCacheStore::Blob find(const CacheKey& key);

  /// What `decode(blob)` makes of an entry; nothing where there is none, or where it throws
  /// malformed_bytes: an entry that is of no use costs time, nothing else.
  template <class Decode>
  auto find_decoded(const CacheKey& key, const Decode& decode)
      -> std::optional<decltype(decode(std::string()))> {
    const TrainCacheStore::Blob blob = find(key);
    if (!blob) return std::nullopt;
    try {
      return decode(*blob);
    } catch (const malformed_bytes&) {
      return std::nullopt;
    }
  }

  void put(const CacheKey& key, std::string blob);
  /// When memory runs out, the cache has not changed.
  void commit();
  /// Bytes that the entries to be added and their keys take.
  std::uint64_t bytes() const { return bytes_; }

 private:
  void drop_oldest();

  TrainCacheStore& store_;
  std::vector<std::pair<CacheKey, TrainCacheStore::Blob>>
      changes_;             // without a blob: used, not added
  std::size_t oldest_ = 0;  // no change before it has a blob
  std::uint64_t bytes_ = 0;
};

}  // namespace telvar::core

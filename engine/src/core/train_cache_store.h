#pragma once

// What makes training again cheaper: prepared samples by image identifier and a digest of what
// they were prepared from. Only what can be recomputed; a lost entry costs time, never a byte.

#include <cstdint>
#include <iosfwd>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/artifact.h"
#include "telvar/image.h"

namespace telvar::core {

/// The capacity that 2^64 - 1 stands for, in bytes.
constexpr std::uint64_t kDefaultCacheCapacity = std::uint64_t{1} << 30;

struct CacheKey {
  std::string image_id;
  std::uint64_t digest;  // of the pixels and of all that the sample is prepared from

  bool operator<(const CacheKey& other) const {
    return digest != other.digest ? digest < other.digest : image_id < other.image_id;
  }
};

/// Digest of an image's layout and pixels (padding left out); the image has passed check_image.
std::uint64_t digest_of(const types::ImageView& image);

/// Entries up to a capacity, the least recently used out first.
class TrainCacheStore {
 public:
  using Blob = std::shared_ptr<const std::string>;

  TrainCacheStore(Tool tool, std::uint64_t capacity);

  /// In bytes.
  std::uint64_t capacity() const { return capacity_; }
  std::size_t size() const { return index_.size(); }
  /// Bytes that the entries and their keys take.
  std::uint64_t bytes() const { return bytes_; }

  /// The entry, or null. Changes nothing.
  Blob find(const CacheKey& key) const;
  /// Marks an entry as just used.
  void touch(const CacheKey& key);
  /// Whether there is room for an entry; not beyond the capacity, nor with an image identifier that
  /// `load` would refuse.
  bool has_room_for(const CacheKey& key, const std::string& blob) const;
  /// Adds or replaces an entry; one that there is no room for is left out.
  void put(const CacheKey& key, Blob blob);

  /// Throws write_error; the stream may then hold a part, which `load` refuses.
  void save(std::ostream& stream) const;
  /// Replaces all entries. Throws read_error: damaged, truncated, of another tool or version; the
  /// entries are then unchanged.
  void load(std::istream& stream);

 private:
  struct Entry {
    CacheKey key;
    Blob blob;
  };
  void drop_oldest();

  Tool tool_;
  std::uint64_t capacity_;
  std::uint64_t bytes_ = 0;
  std::list<Entry> entries_;  // most recently used first
  std::map<CacheKey, std::list<Entry>::iterator> index_;
};

/// One call's view of a cache: reads through, and changes it only when committed, so that a call
/// that fails half-way leaves the cache as it was. Holds back no more than the cache may hold.
class CacheSession {
 public:
  explicit CacheSession(TrainCacheStore& store) : store_(store) {}

  TrainCacheStore::Blob find(const CacheKey& key);
  void put(const CacheKey& key, std::string blob);
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

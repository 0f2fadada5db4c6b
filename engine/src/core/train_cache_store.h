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
  bool has_room_for(const CacheKey& key, const std::string& blob) const noexcept;
  /// Bytes that an entry and its key take.
  static std::uint64_t cost(const CacheKey& key, const std::string& blob) noexcept;
  /// Adds or replaces an entry; one that there is no room for is left out. When memory runs out,
  /// nothing has changed.
  void put(const CacheKey& key, Blob blob);

  /// An entry made ready, so that adding it cannot fail.
  class Prepared;
  static Prepared prepare(const CacheKey& key, Blob blob);
  void put(Prepared&& entry) noexcept;

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
  using Entries = std::list<Entry>;
  using Index = std::map<CacheKey, Entries::iterator>;

  void remove(Index::iterator found) noexcept;
  void drop_oldest() noexcept;

  Tool tool_;
  std::uint64_t capacity_;
  std::uint64_t bytes_ = 0;
  Entries entries_;  // most recently used first
  Index index_;
};

class TrainCacheStore::Prepared {
 public:
  Prepared(Prepared&&) = default;

 private:
  friend TrainCacheStore;
  Prepared() = default;
  Entries entries;  // one
  Index index;      // to it
};

}  // namespace telvar::core

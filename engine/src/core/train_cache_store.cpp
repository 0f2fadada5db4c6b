#include "core/train_cache_store.h"

#include <ios>
#include <istream>
#include <iterator>
#include <ostream>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

constexpr std::string_view kMagic("\x89TLC\r\n\x1A\n", 8);
// Changes with anything that the entries depend on: caches are read by their own version only.
constexpr std::uint32_t kVersion = 1;
// Bytes; an image with a longer identifier is not kept.
constexpr std::uint32_t kMaxImageId = 1u << 20;
// What an entry is counted to take beside its identifier and its bytes: part of what a capacity
// means, whatever the containers really take.
constexpr std::uint64_t kEntryOverhead = 64;
constexpr std::uint64_t kSmallestEntry = 4 + 8 + 8;  // bytes of its three numbers

std::string read_all(std::istream& stream) try {
  return std::string(std::istreambuf_iterator<char>(stream.rdbuf()), {});
} catch (const std::ios_base::failure& error) {
  throw types::read_error(std::string("train cache: the stream cannot be read: ") + error.what());
}

/// Writes to a stream and sums what it writes: a cache is too large to be held once more.
class SummingWriter {
 public:
  explicit SummingWriter(std::ostream& stream) : stream_(stream) { XXH3_64bits_reset(&sum_); }

  void write(std::string_view bytes) {
    XXH3_64bits_update(&sum_, bytes.data(), bytes.size());
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  std::uint64_t sum() const { return XXH3_64bits_digest(&sum_); }

 private:
  std::ostream& stream_;
  XXH3_state_t sum_;
};

/// Everything between the header and the checksum, both verified.
std::string_view checked_entries(std::string_view bytes, Tool tool) {
  if (bytes.size() < kMagic.size() + 16 || bytes.substr(0, kMagic.size()) != kMagic) {
    throw malformed_bytes("this is no train cache");
  }
  ByteReader tail(bytes.substr(bytes.size() - 8));
  const std::string_view summed = bytes.substr(0, bytes.size() - 8);
  if (tail.u64("checksum") != checksum(summed)) throw malformed_bytes("it is damaged (checksum)");
  ByteReader header(summed.substr(kMagic.size()));
  const std::uint32_t version = header.u32("version");
  if (version != kVersion) {
    throw malformed_bytes("version " + std::to_string(version) + ", wanted is " +
                          std::to_string(kVersion));
  }
  if (header.u32("tool") != static_cast<std::uint32_t>(tool)) {
    throw malformed_bytes(std::string("it belongs to another tool than the ") + name_of(tool));
  }
  return summed.substr(kMagic.size() + 8);
}

}  // namespace

std::uint64_t digest_of(const types::ImageView& image) {
  const auto [width, height, stride, channels, bits, order] = image.layout;
  ByteWriter layout;
  for (const unsigned value : {width, height, channels, bits, order}) layout.u32(value);
  XXH3_state_t state;
  XXH3_64bits_reset(&state);
  XXH3_64bits_update(&state, layout.bytes().data(), layout.bytes().size());
  const std::size_t row_bytes = std::size_t{width} * channels * bits / 8;
  for (std::size_t y = 0; y < height; ++y) {
    XXH3_64bits_update(&state, image.pixels + y * stride, row_bytes);
  }
  return XXH3_64bits_digest(&state);
}

std::uint64_t TrainCacheStore::cost(const CacheKey& key, const std::string& blob) noexcept {
  return key.image_id.size() + blob.size() + kEntryOverhead;
}

TrainCacheStore::TrainCacheStore(Tool tool, std::uint64_t capacity)
    : tool_(tool), capacity_(capacity == ~std::uint64_t{0} ? kDefaultCacheCapacity : capacity) {}

TrainCacheStore::Blob TrainCacheStore::find(const CacheKey& key) const {
  const auto found = index_.find(key);
  return found == index_.end() ? nullptr : found->second->blob;
}

void TrainCacheStore::touch(const CacheKey& key) {
  const auto found = index_.find(key);
  if (found != index_.end()) entries_.splice(entries_.begin(), entries_, found->second);
}

bool TrainCacheStore::has_room_for(const CacheKey& key, const std::string& blob) const noexcept {
  return key.image_id.size() <= kMaxImageId && cost(key, blob) <= capacity_;
}

void TrainCacheStore::put(const CacheKey& key, Blob blob) {
  put(prepare(key, std::move(blob)));
}

TrainCacheStore::Prepared TrainCacheStore::prepare(const CacheKey& key, Blob blob) {
  Prepared prepared;
  prepared.entries.push_front({key, std::move(blob)});
  prepared.index.emplace(key, prepared.entries.begin());
  return prepared;
}

void TrainCacheStore::put(Prepared&& entry) noexcept {
  const Entry& added = entry.entries.front();
  const auto found = index_.find(added.key);
  if (found != index_.end()) remove(found);
  if (!has_room_for(added.key, *added.blob)) return;
  bytes_ += cost(added.key, *added.blob);
  entries_.splice(entries_.begin(), entry.entries);
  index_.merge(entry.index);
  while (bytes_ > capacity_) drop_oldest();
}

void TrainCacheStore::remove(Index::iterator found) noexcept {
  const auto entry = found->second;
  bytes_ -= cost(entry->key, *entry->blob);
  index_.erase(found);
  entries_.erase(entry);
}

void TrainCacheStore::drop_oldest() noexcept {
  remove(index_.find(entries_.back().key));
}

void TrainCacheStore::save(std::ostream& stream) const try {
  SummingWriter out(stream);
  ByteWriter header;
  header.raw(kMagic.data(), kMagic.size());
  header.u32(kVersion);
  header.u32(static_cast<std::uint32_t>(tool_));
  header.u64(entries_.size());
  out.write(header.bytes());
  for (auto entry = entries_.rbegin(); entry != entries_.rend() && stream; ++entry) {
    ByteWriter head;
    head.text(entry->key.image_id);
    head.u64(entry->key.digest);
    head.u64(entry->blob->size());
    out.write(head.bytes());
    out.write(*entry->blob);
  }
  ByteWriter sum;
  sum.u64(out.sum());
  out.write(sum.bytes());
  stream.flush();
  if (!stream) throw types::write_error("train cache: the stream cannot be written");
} catch (const std::ios_base::failure& error) {  // if the stream is told to throw
  throw types::write_error(std::string("train cache: the stream cannot be written: ") +
                           error.what());
}

void TrainCacheStore::load(std::istream& stream) {
  if (!stream) throw types::read_error("train cache: the stream cannot be read");
  TrainCacheStore loaded(tool_, capacity_);
  try {
    const std::string bytes = read_all(stream);
    ByteReader reader(checked_entries(bytes, tool_));
    const std::uint64_t entries = reader.u64("entries");
    if (entries > reader.remaining() / kSmallestEntry) {
      throw malformed_bytes(std::to_string(entries) + " entries are announced, " +
                            std::to_string(reader.remaining()) + " bytes are left");
    }
    for (std::uint64_t left = entries; left > 0; --left) {
      CacheKey key;
      key.image_id = reader.text("image identifier", kMaxImageId);
      key.digest = reader.u64("digest");
      loaded.put(key, std::make_shared<const std::string>(reader.blob("entry")));
    }
    reader.finish("entries");
  } catch (const malformed_bytes& error) {
    throw types::read_error(std::string("train cache: ") + error.what());
  }
  std::swap(entries_, loaded.entries_);
  std::swap(index_, loaded.index_);
  bytes_ = loaded.bytes_;
}

}  // namespace telvar::core

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
constexpr std::uint32_t kMaxImageId = 1u << 20;
constexpr std::uint64_t kEntryOverhead = 64;

std::uint64_t cost(const CacheKey& key, const std::string& blob) {
  return key.image_id.size() + blob.size() + kEntryOverhead;
}

std::string read_all(std::istream& stream) try {
  return std::string(std::istreambuf_iterator<char>(stream.rdbuf()), {});
} catch (const std::ios_base::failure& error) {
  throw types::read_error(std::string("train cache: the stream cannot be read: ") + error.what());
}

void write_all(std::ostream& stream, const std::string& bytes) try {
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.flush();
  if (!stream) throw types::write_error("train cache: the stream cannot be written");
} catch (const std::ios_base::failure& error) {  // if the stream is told to throw
  throw types::write_error(std::string("train cache: the stream cannot be written: ") +
                           error.what());
}

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

TrainCacheStore::TrainCacheStore(Tool tool, bool keep_images, std::uint64_t capacity)
    : tool_(tool),
      keep_images_(keep_images),
      capacity_(capacity == ~std::uint64_t{0} ? kDefaultCacheCapacity : capacity) {}

TrainCacheStore::Blob TrainCacheStore::find(const CacheKey& key) const {
  const auto found = index_.find(key);
  return found == index_.end() ? nullptr : found->second->blob;
}

void TrainCacheStore::touch(const CacheKey& key) {
  const auto found = index_.find(key);
  if (found != index_.end()) entries_.splice(entries_.begin(), entries_, found->second);
}

void TrainCacheStore::put(const CacheKey& key, Blob blob) {
  const auto found = index_.find(key);
  if (found != index_.end()) {
    bytes_ -= cost(key, *found->second->blob);
    entries_.erase(found->second);
    index_.erase(found);
  }
  if (cost(key, *blob) > capacity_) return;
  bytes_ += cost(key, *blob);
  entries_.push_front({key, std::move(blob)});
  index_[key] = entries_.begin();
  while (bytes_ > capacity_) drop_oldest();
}

void TrainCacheStore::drop_oldest() {
  const Entry& oldest = entries_.back();
  bytes_ -= cost(oldest.key, *oldest.blob);
  index_.erase(oldest.key);
  entries_.pop_back();
}

void TrainCacheStore::save(std::ostream& stream) const {
  ByteWriter writer;
  writer.raw(kMagic.data(), kMagic.size());
  writer.u32(kVersion);
  writer.u32(static_cast<std::uint32_t>(tool_));
  writer.u64(entries_.size());
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
    writer.text(entry->key.image_id);
    writer.u64(entry->key.digest);
    writer.blob(*entry->blob);
  }
  writer.u64(checksum(writer.bytes()));
  write_all(stream, writer.bytes());
}

void TrainCacheStore::load(std::istream& stream) {
  if (!stream) throw types::read_error("train cache: the stream cannot be read");
  TrainCacheStore loaded(tool_, keep_images_, capacity_);
  try {
    const std::string bytes = read_all(stream);
    ByteReader reader(checked_entries(bytes, tool_));
    for (std::uint64_t left = reader.u64("entries"); left > 0; --left) {
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

TrainCacheStore::Blob CacheSession::find(const CacheKey& key) {
  TrainCacheStore::Blob blob = store_.find(key);
  if (blob) changes_.emplace_back(key, nullptr);
  return blob;
}

void CacheSession::put(const CacheKey& key, std::string blob) {
  if (cost(key, blob) > store_.capacity()) return;
  bytes_ += cost(key, blob);
  changes_.emplace_back(key, std::make_shared<const std::string>(std::move(blob)));
  while (bytes_ > store_.capacity()) drop_oldest();
}

void CacheSession::drop_oldest() {
  while (!changes_[oldest_].second) ++oldest_;
  auto& [key, blob] = changes_[oldest_];
  bytes_ -= cost(key, *blob);
  blob = nullptr;
}

void CacheSession::commit() {
  for (auto& [key, blob] : changes_) {
    if (blob) {
      store_.put(key, std::move(blob));
    } else {
      store_.touch(key);
    }
  }
  changes_.clear();
  oldest_ = 0;
  bytes_ = 0;
}

}  // namespace telvar::core

#pragma once

// What the three cache targets share.
// Input: 0 and a saved cache; 1 and edits of a sound entry; 2 and edits of a sound saved cache.

#include <memory>
#include <sstream>

#include "core/cache_session.h"
#include "edited_bytes.h"
#include "telvar/exceptions.h"

namespace telvar::fuzz {

inline std::string saved(const core::TrainCacheStore& store) {
  std::ostringstream stream;
  store.save(stream);
  return stream.str();
}

/// The key and bytes of the one entry of a store.
inline std::pair<core::CacheKey, std::string> only_entry(const core::TrainCacheStore& store) {
  const std::string bytes = saved(store);
  core::ByteReader reader(bytes);
  reader.raw("header", 16);
  require(reader.u64("entries") == 1, "the sound cache has one entry");
  core::CacheKey key;
  key.image_id = reader.text("image", 100);
  key.digest = reader.u64("digest");
  return {key, std::string(reader.blob("entry"))};
}

/// `train(store)` takes what it can from the cache, as the first step of a training does, and ends
/// the run when what it got is not sound.
template <typename Train>
void try_cache(core::Tool tool, Input input, Train train) {
  static const std::unique_ptr<core::TrainCacheStore> sound = [&] {
    auto store = std::make_unique<core::TrainCacheStore>(tool, 1 << 20);
    train(*store);
    return store;
  }();
  core::TrainCacheStore store(tool, 1 << 20);
  const int kind = input.number<std::uint8_t>() % 3;
  if (kind == 1) {
    auto [key, blob] = only_entry(*sound);
    store.put(key, std::make_shared<const std::string>(edited(blob, input)));
  } else {
    std::istringstream stream(kind == 0 ? input.rest() : edited(saved(*sound), input));
    try {
      store.load(stream);
    } catch (const types::read_error&) {
      require(store.size() == 0, "a cache that is refused leaves nothing");
    }
  }
  train(store);
  std::istringstream again(saved(store));
  store.load(again);
}

}  // namespace telvar::fuzz

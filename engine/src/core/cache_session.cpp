#include "core/cache_session.h"

namespace telvar::core {

TrainCacheStore::Blob CacheSession::find(const CacheKey& key) {
  TrainCacheStore::Blob blob = store_.find(key);
  if (blob) changes_.emplace_back(key, nullptr);
  return blob;
}

void CacheSession::put(const CacheKey& key, std::string blob) {
  if (!store_.has_room_for(key, blob)) return;
  bytes_ += TrainCacheStore::cost(key, blob);
  changes_.emplace_back(key, std::make_shared<const std::string>(std::move(blob)));
  while (bytes_ > store_.capacity()) drop_oldest();
}

void CacheSession::drop_oldest() {
  while (!changes_[oldest_].second) ++oldest_;
  auto& [key, blob] = changes_[oldest_];
  bytes_ -= TrainCacheStore::cost(key, *blob);
  blob = nullptr;
}

void CacheSession::commit() {
  std::vector<TrainCacheStore::Prepared> ready;
  for (const auto& [key, blob] : changes_) {
    if (blob) ready.push_back(TrainCacheStore::prepare(key, blob));
  }
  auto next = ready.begin();
  for (const auto& [key, blob] : changes_) {
    if (blob) {
      store_.put(std::move(*next++));
    } else {
      store_.touch(key);
    }
  }
  changes_.clear();
  oldest_ = 0;
  bytes_ = 0;
}

}  // namespace telvar::core

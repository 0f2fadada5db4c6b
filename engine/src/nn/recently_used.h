#pragma once

#include <algorithm>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace telvar::nn {

/// What was made for the keys that were asked for last. Any number of threads; two that ask for a
/// new key at once may both make it.
template <class Key, class Value>
class RecentlyUsed {
 public:
  explicit RecentlyUsed(std::size_t most) : most_(most) {}

  template <class Make>
  std::shared_ptr<const Value> get(const Key& key, Make make) {
    if (auto found = find(key)) return found;
    auto made = std::make_shared<const Value>(make(key));
    const std::lock_guard lock(mutex_);
    kept_.emplace_front(key, made);
    if (kept_.size() > most_) kept_.pop_back();
    return made;
  }

 private:
  std::shared_ptr<const Value> find(const Key& key) {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::find_if(kept_.begin(), kept_.end(), [&](const auto& one) { return one.first == key; });
    if (found == kept_.end()) return nullptr;
    kept_.splice(kept_.begin(), kept_, found);
    return kept_.front().second;
  }

  std::size_t most_;
  std::mutex mutex_;
  std::list<std::pair<Key, std::shared_ptr<const Value>>> kept_;  // most recently used first
};

}  // namespace telvar::nn

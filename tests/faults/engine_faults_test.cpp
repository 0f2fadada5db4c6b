// Want of memory in the parts of the engine that keep state or build messages, at every allocation.

#include <gtest/gtest.h>

#include <sstream>

#include "allocations.h"
#include "classifier/result.h"
#include "core/cache_session.h"
#include "core/messages.h"
#include "telvar_msg/classification.pb.h"

namespace faults {
namespace {

using namespace telvar;

/// Runs `work` on something new with the first, the second ... allocation failing, until none does,
/// and `check` after each failure. Returns how many there were.
template <class Make, class Work, class Check>
int sweep(Mode mode, const Make& make, const Work& work, const Check& check) {
  for (int n = 1;; ++n) {
    auto subject = make();
    FailAllocation(n, mode);
    try {
      work(*subject);
    } catch (const std::bad_alloc&) {
    }
    if (!StopFailing()) return n - 1;
    check(*subject, n);
  }
}

std::string saved(const core::TrainCacheStore& store) {
  std::ostringstream out;
  store.save(out);
  return out.str();
}

TEST(WantOfMemoryInTheCache, LeavesItAsItWas) {
  constexpr std::uint64_t kRoom = 4 * (100 + 64 + 5);
  const auto blob = [](char c) { return std::string(100, c); };
  const auto make = [&] {
    auto store = std::make_unique<core::TrainCacheStore>(core::Tool::kOcr, kRoom);
    for (const char* id : {"one", "two", "three"}) {
      store->put({id, 1}, std::make_shared<const std::string>(blob(id[0])));
    }
    return store;
  };
  const std::string before = saved(*make());
  for (const Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
    const auto work = [&](core::TrainCacheStore& store) {
      core::CacheSession session(store);
      session.find({"one", 1});
      for (const char* id : {"two", "four", "five"}) session.put({id, 1}, blob('n'));
      session.commit();
    };
    const int failures = sweep(mode, make, work, [&](core::TrainCacheStore& store, int n) {
      EXPECT_EQ(saved(store), before) << n;
      work(store);  // it still works
      EXPECT_EQ(store.size(), 4u) << n;
      EXPECT_LE(store.bytes(), kRoom) << n;
      EXPECT_EQ(*store.find({"two", 1}), blob('n')) << n;
    });
    EXPECT_GT(failures, 10);
  }
}

TEST(WantOfMemoryInAMessage, EndsInBadAlloc) {
  using Message = telvar_msg::qv::classification::Dataset;
  const std::string bytes = [] {
    core::ArenaMessage<Message> message;
    for (int i = 0; i < 20; ++i) {
      const std::string name = "a name that needs memory of its own " + std::to_string(i);
      (*message->mutable_categories())[name];
      (*message->mutable_samples())[name].set_category_id(name);
    }
    return message->SerializeAsString();
  }();
  for (const Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
    const auto make = [] { return std::make_unique<int>(0); };
    const auto parse = [&](int&) { core::ParsedMessage<Message>(bytes, "data set"); };
    EXPECT_GT(sweep(mode, make, parse, [](int&, int) {}), 10);
  }
}

TEST(WantOfMemoryInAnAnswer, EndsInBadAlloc) {
  const std::vector<std::string> categories = {"a category that needs memory of its own", "b"};
  const float scores[] = {0.75f, 0.25f};
  const auto make = [] { return std::make_unique<int>(0); };
  const auto answer = [&](int&) {
    core::ArenaMessage<telvar_msg::qv::classification::ProcessingResult> result;
    for (int i = 0; i < 20; ++i) {
      const std::string key = "a sample that needs memory of its own " + std::to_string(i);
      classifier::fill_sample_result(categories, scores, (*result->mutable_samples())[key]);
    }
    core::serialised(*result, "batch");
  };
  for (const Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
    EXPECT_GT(sweep(mode, make, answer, [](int&, int) {}), 10);
  }
}

}  // namespace
}  // namespace faults

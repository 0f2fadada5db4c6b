#include "core/worker_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <stdexcept>
#include <thread>
#include <vector>

namespace telvar::core {
namespace {

TEST(WorkerPool, RunsEveryChunkOnceFromSeveralThreadsAndNested) {
  WorkerPool pool(3);
  std::vector<std::atomic<int>> counts(200);
  const auto outer = [&](int base) {
    pool.run(10, [&, base](int i) {
      pool.run(10, [&, base, i](int k) { ++counts[base + 10 * i + k]; });
    });
  };
  std::thread other([&] { outer(100); });
  outer(0);
  other.join();
  for (const auto& count : counts) EXPECT_EQ(count, 1);
  pool.run(0, [](int) { FAIL(); });
}

TEST(WorkerPool, ReportsTheLowestFailingChunkAndStaysUsable) {
  WorkerPool pool(4);
  for (int round = 0; round < 50; ++round) {
    try {
      pool.run(20, [](int chunk) {
        if (chunk >= 3) throw std::runtime_error(std::to_string(chunk));
      });
      FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "3");
    }
  }
  std::atomic<int> sum{0};
  pool.run(5, [&](int chunk) { sum += chunk; });
  EXPECT_EQ(sum, 10);
}

TEST(WorkerPool, TakesNoMoreThreadsThanItsLimit) {
  const WorkerPool pool(4000000000u);
  EXPECT_LE(pool.threads(), kMaxPoolThreads);
}

TEST(WorkerPool, DoesNotSpinWhileIdle) {
  WorkerPool pool(4);
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_LT(static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC, 0.05);
  EXPECT_GE(available_cores(), 1u);
}

}  // namespace
}  // namespace telvar::core

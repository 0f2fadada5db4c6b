#include "core/worker_pool.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
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
  std::atomic<int> sum{0};
  pool.run(100, [&](int chunk) { sum += chunk; });
  EXPECT_EQ(sum, 4950);
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_LT(static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC, 0.05);
}

TEST(Cores, AreLimitedByTheSmallestQuotaOfTheGroupsAbove) {
  const auto root = std::filesystem::path(testing::TempDir()) / std::to_string(::getpid());
  const auto write = [&](const char* path, const char* text) {
    std::filesystem::create_directories((root / path).parent_path());
    std::ofstream(root / path) << text << "\n";
  };
  write("cpu.max", "max 100000");
  write("plant/cpu.max", "150000 100000");
  write("plant/line/cpu.max", "300000 100000");
  write("cpu/old/cpu.cfs_quota_us", "250000");
  write("cpu/old/cpu.cfs_period_us", "100000");
  write("cpu/free/cpu.cfs_quota_us", "-1");
  write("cpu/free/cpu.cfs_period_us", "100000");
  const std::pair<const char*, double> cases[] = {
      {"0::/plant/line\n", 1.5},           {"0::/\n", HUGE_VAL},
      {"0::/elsewhere\n", HUGE_VAL},       {"4:cpu,cpuacct:/old/part\n", 2.5},
      {"4:cpuacct,cpu:/free\n", HUGE_VAL}, {"3:cpuset:/old\n4:cpu:/free\n", HUGE_VAL},
      {"4:cpu:/old\n0::/plant\n", 1.5},    {"no such line\n", HUGE_VAL},
  };
  for (const auto& [groups, cores] : cases) {
    std::istringstream lines(groups);
    EXPECT_EQ(smallest_quota(lines, root.string()), cores) << groups;
  }
  std::filesystem::remove_all(root);
}

}  // namespace
}  // namespace telvar::core

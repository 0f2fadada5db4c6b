// What a training tells of its progress, and how it is cancelled.

#include "core/monitor.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cfenv>
#include <set>
#include <stdexcept>
#include <thread>

#include "core/training_pool.h"

namespace telvar::test {
namespace {

types::ImageLoader loader_with(types::ProgressReport report) {
  return types::MonitoredLoader{nullptr, std::move(report), 2};
}

// No constant, which gcc 12 would warn of: it then sees an uninitialised variable in target().
types::ImageLoader plain_loader = [](const std::string&) { return types::Image(); };

TEST(Monitor, TellsSharesThatNeverFallWhateverIsExpected) {
  std::vector<double> told;
  const auto loader = loader_with([&](double fraction, double) { told.push_back(fraction); });
  core::LibraryThreadScope scope;
  core::Monitor monitor(loader, scope);
  monitor.check();
  monitor.expect(8);
  monitor.step();
  monitor.step();
  monitor.expect(2);  // the rest is shorter than it could have been
  monitor.step();
  monitor.expect(9);  // or longer
  monitor.step();
  monitor.expect(0);
  monitor.check();
  EXPECT_THAT(told, testing::ElementsAre(0, 0.125, 0.25, 0.75, 0.75, 1));
}

TEST(Monitor, SaysNothingToAPlainLoader) {
  core::LibraryThreadScope scope;
  core::Monitor monitor(plain_loader, scope);
  monitor.expect(1);
  monitor.step();
  EXPECT_EQ(monitor.threads(), 0U);
}

TEST(Monitor, StopsEveryThreadWithWhatTheReportThrew) {
  std::atomic<int> inside{0}, steps{0};
  bool alone = true;
  const auto loader = loader_with([&](double fraction, double) {
    alone = alone && ++inside == 1;
    --inside;
    if (fraction >= 0.5) throw std::domain_error("enough");
  });
  core::LibraryThreadScope scope;
  core::Monitor monitor(loader, scope);
  core::TrainingPool pool(monitor);
  EXPECT_EQ(pool.threads(), 2U);
  pool.monitor().expect(20000);
  const auto work = [&](int) {
    for (int i = 0; i < 10000; ++i, ++steps) pool.monitor().step();
  };
  EXPECT_THROW(pool.run(2, work), std::domain_error);
  EXPECT_TRUE(alone);
  EXPECT_LT(steps, 20000);
  EXPECT_THROW(pool.monitor().check(), std::domain_error);
}

TEST(Monitor, ReportsInTheHostsModeOnWhateverThread) {
  std::set<std::thread::id> threads;
  std::set<int> roundings;
  const auto loader = loader_with([&](double, double) {
    threads.insert(std::this_thread::get_id());
    roundings.insert(std::fegetround());
    std::fesetround(FE_DOWNWARD);  // its own affair
  });
  std::fesetround(FE_UPWARD);
  {
    core::LibraryThreadScope scope;
    core::Monitor monitor(loader, scope);
    core::TrainingPool pool(monitor);
    std::atomic<int> nearest{0}, begun{0};
    pool.run(2, [&](int) {
      for (++begun; begun < 2;) std::this_thread::yield();  // one chunk on each thread
      for (int i = 0; i < 200; ++i) {
        pool.monitor().check();
        nearest += std::fegetround() == FE_TONEAREST ? 1 : 0;
        std::this_thread::yield();
      }
    });
    EXPECT_EQ(nearest, 400);
  }
  EXPECT_EQ(std::fegetround(), FE_UPWARD);
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(threads.size(), 2U);
  EXPECT_THAT(roundings, testing::ElementsAre(FE_UPWARD));
}

}  // namespace
}  // namespace telvar::test

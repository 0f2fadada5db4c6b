#pragma once

// What a piece of work takes and may take.

#include <gtest/gtest.h>
#include <sched.h>

#include <ctime>
#include <thread>

#include "core/cores.h"

namespace telvar::test {

/// Processor seconds of all threads.
template <class Work>
double cpu_of(const Work& work) {
  const std::clock_t before = std::clock();
  work();
  return static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
}

/// Starts a thread that may use a single core, so that the engine works with one thread there.
template <class Work>
std::thread on_one_core(Work work) {
  return std::thread([work] {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    CPU_SET(sched_getcpu(), &allowed);
    EXPECT_EQ(sched_setaffinity(0, sizeof allowed, &allowed), 0);
    EXPECT_EQ(core::available_cores(), 1U);
    work();
  });
}

}  // namespace telvar::test

// Hosts whose threads have small stacks, on the embedded engine through the loaded library.

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

#include "contract/child.h"
#include "contract/kept_tools.h"

namespace {

namespace samples = little_tools::samples;
using little_tools::Tools;

/// What docs/threads.md promises to be enough.
constexpr std::size_t kSmallestStack = 64 * 1024;

void* run_work(void* work) {
  (*static_cast<std::function<void()>*>(work))();
  return nullptr;
}

void run_on_stack_of(std::size_t bytes, std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  little_tools::require(pthread_attr_setstacksize(&attributes, bytes) == 0, "no such stack");
  pthread_t thread;
  little_tools::require(pthread_create(&thread, &attributes, run_work, &work) == 0, "no thread");
  pthread_attr_destroy(&attributes);
  pthread_join(thread, nullptr);
}

void create_and_process() {
  kept_tools::answer_of(kept_tools::new_tools());
}

void train(void (*work)(const Tools&)) {
  work(kept_tools::untrained_tools());
}

/// The threads that the library makes have stacks of the system's size for new threads.
class SmallStack : public testing::TestWithParam<void (*)()> {};

TEST_P(SmallStack, IsEnough) {
  const auto work = [] {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kSmallestStack);
    little_tools::require(pthread_setattr_default_np(&attributes) == 0, "no default");
    run_on_stack_of(kSmallestStack, GetParam());
    return 0;
  };
  EXPECT_EQ(child::end_of(work), "ended with 0");
}

INSTANTIATE_TEST_SUITE_P(
    Work, SmallStack,
    testing::Values(
        create_and_process,
        [] {
          train([](const Tools& t) { t.reader->Train(samples::ToRead(), samples::LoadSample); });
        },
        [] {
          train([](const Tools& t) {
            t.classifier->Train(samples::ToClassify(), samples::LoadSample);
          });
        },
        [] { train([](const Tools& t) { little_tools::train_segmenter(t); }); }));

}  // namespace

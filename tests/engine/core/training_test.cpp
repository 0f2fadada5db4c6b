#include "core/training.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <dnnl.hpp>
#include <thread>

#include "../support/expect_error.h"
#include "core/exception_translation.h"
#include "core/library_threads.h"
#include "core/net.h"
#include "core/weights.h"
#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

// Tells horizontal stripes from vertical ones.
struct StripeNetImpl : torch::nn::Module {
  StripeNetImpl()
      : body(register_module("body", ResidualBlock(1, 8))),
        head(register_module("head", torch::nn::Conv2d(torch::nn::Conv2dOptions(8, 2, 1)))) {}
  torch::Tensor forward(const torch::Tensor& input) {
    return head(body(input).mean({2, 3}, true)).flatten(1);
  }
  ResidualBlock body;
  torch::nn::Conv2d head;
};

struct Batch {
  torch::Tensor images, labels;
};

Batch draw(int size, Random& random) {
  Batch batch{torch::empty({size, 1, 8, 8}), torch::empty({size}, torch::kLong)};
  for (int i = 0; i < size; ++i) {
    const int label = random.below(2);
    const int phase = random.below(2);
    for (int p = 0; p < 64; ++p) {
      batch.images.data_ptr<float>()[i * 64 + p] =
          static_cast<float>(((label ? p / 8 : p % 8) + phase) % 2) + 0.3f * random.normal();
    }
    batch.labels.data_ptr<std::int64_t>()[i] = label;
  }
  return batch;
}

std::string train_stripes(unsigned threads, double average_decay, double* accuracy = nullptr) {
  WorkerPool pool(threads);
  auto net = std::make_shared<StripeNetImpl>();
  Random random({5});
  initialise(*net, random);
  TrainingPlan plan;
  plan.steps = 120;
  plan.peak_rate = 1e-2;
  plan.seed = 9;
  plan.average_decay = average_decay;
  plan.clip_norm = 1;
  train<StripeNetImpl>(
      net, [] { return std::make_shared<StripeNetImpl>(); },
      [](StripeNetImpl& replica, int, int, Random& own) {
        const Batch batch = draw(8, own);
        return torch::nn::functional::cross_entropy(replica.forward(batch.images), batch.labels);
      },
      plan, pool);
  if (accuracy != nullptr) {
    const LibraryThreadScope scope;
    const torch::InferenceMode inference;
    const Batch batch = draw(200, random);
    *accuracy = net->forward(batch.images)
                    .argmax(1)
                    .eq(batch.labels)
                    .to(torch::kFloat)
                    .mean()
                    .item<float>();
  }
  ByteWriter writer;
  write_state(writer, *net);
  return writer.take();
}

TEST(Training, LearnsAndGivesTheSameBytesWithAnyNumberOfThreads) {
  double plain = 0, averaged = 0;
  const std::string one = train_stripes(1, 0, &plain);
  EXPECT_GT(plain, 0.95);
  EXPECT_EQ(one, train_stripes(2, 0));
  EXPECT_NE(one, train_stripes(3, 0.9, &averaged));
  EXPECT_GT(averaged, 0.95);
}

TEST(Training, TwoAtOnceDoNotDisturbEachOther) {
  const std::string alone = train_stripes(2, 0.9);
  std::string first, second;
  std::thread other([&] { first = train_stripes(2, 0.9); });
  omp_set_num_threads(2);
  second = train_stripes(1, 0.9);
  other.join();
  EXPECT_EQ(omp_get_max_threads(), 2);
  EXPECT_EQ(first, alone);
  EXPECT_EQ(second, alone);
}

TEST(Training, StopsWhenTheLossIsNotFinite) {
  WorkerPool pool(1);
  TrainingPlan plan;
  plan.steps = 3;
  auto net = std::make_shared<StripeNetImpl>();
  const auto work = [&] {
    train<StripeNetImpl>(
        net, [] { return std::make_shared<StripeNetImpl>(); },
        [](StripeNetImpl& replica, int, int, Random&) {
          return replica.forward(torch::full({1, 1, 8, 8}, NAN)).sum();
        },
        plan, pool);
  };
  test::expect_error<types::exception>(work, "the loss of step 1");
}

TEST(Training, ReportsWeightsThatTheLastStepLost) {
  WorkerPool pool(1);
  TrainingPlan plan;
  plan.steps = 1;
  auto net = std::make_shared<StripeNetImpl>();
  const auto work = [&] {
    train<StripeNetImpl>(
        net, [] { return std::make_shared<StripeNetImpl>(); },
        [](StripeNetImpl& replica, int, int, Random&) {
          return (0 * replica.head->weight).sum().sqrt();  // 0, of infinite slope
        },
        plan, pool);
  };
  test::expect_error<types::exception>(work, "a weight is not finite after the last step");
}

TEST(Translation, LetsWhateverLeavesACallbackPass) {
  const std::function<int(const std::string&)> loader = [](const std::string& id) -> int {
    if (id == "torch") TORCH_CHECK(false, "the host's own");
    if (id == "oneDNN") throw dnnl::error(dnnl_out_of_memory, "the host's own");
    throw std::out_of_range("host");
  };
  const auto call = [&](const char* id) {
    translated("loading", [&] { return passing(loader)(id); });
  };
  EXPECT_THROW(call("torch"), c10::Error);
  EXPECT_THROW(call("oneDNN"), dnnl::error);
  EXPECT_THROW(call("none"), std::out_of_range);
}

TEST(Translation, NamesTheActivityAndLetsOthersPass) {
  try {
    translated("adding", [] { return torch::ones({2}) + torch::ones({3}); });
    FAIL();
  } catch (const types::exception& error) {
    EXPECT_EQ(std::string(error.what()).rfind("adding: The size of tensor a", 0), 0u)
        << error.what();
  }
  EXPECT_THROW(translated("raising", []() -> int { throw std::out_of_range("host"); }),
               std::out_of_range);
  EXPECT_THROW(translated("filling", [] { return torch::empty({std::int64_t{1} << 50}).numel(); }),
               std::bad_alloc);
  // Shapes that do not fit, which oneDNN is left to find: its exception is no c10::Error.
  const auto multiply = [] {
    const torch::NoGradGuard no_grad;
    return at::mkldnn_linear(torch::ones({2, 3}).to_mkldnn(), torch::ones({4, 5}));
  };
  try {
    translated("multiplying", multiply);
    FAIL();
  } catch (const types::exception& error) {
    EXPECT_EQ(std::string(error.what()).rfind("multiplying: oneDNN: could not create", 0), 0u)
        << error.what();
  }
  EXPECT_EQ(translated("counting", [] { return 3; }), 3);
}

}  // namespace
}  // namespace telvar::core

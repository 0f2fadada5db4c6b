#include "nn/training.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <thread>

#include "../support/expect_error.h"
#include "nn/inference.h"
#include "nn/weights.h"
#include "telvar/exceptions.h"

namespace telvar::nn {
namespace {

constexpr int kSide = 8;
constexpr int kArea = kSide * kSide;

Network stripe_network() {
  Network net;
  net.pointwise("head", net.mean(net.residual_block("body", net.input(1), 8, 1)), 2);
  return net;
}

/// Horizontal or vertical stripes with noise; returns which.
int draw_stripes(core::Random& random, float* image) {
  const int label = random.below(2), phase = random.below(2);
  for (int p = 0; p < kArea; ++p) {
    const int line = label ? p / kSide : p % kSide;
    image[p] = static_cast<float>((line + phase) % 2) + 0.3f * random.normal();
  }
  return label;
}

double stripe_loss(ChunkPass& pass, int, int, core::Random& random) {
  const int images = pass.input_shape().images;
  std::vector<int> labels;
  for (int i = 0; i < images; ++i) labels.push_back(draw_stripes(random, pass.input() + i * kArea));
  const float* logits = pass.forward();
  double loss = 0;
  for (int i = 0; i < images; ++i) {
    const double difference = logits[2 * i + 1] - logits[2 * i];
    const double second = 1 / (1 + std::exp(-difference));
    loss -= std::log(labels[i] ? second : 1 - second) / images;
    const auto slope = static_cast<float>((second - labels[i]) / images);
    pass.answer_gradient()[2 * i] = -slope;
    pass.answer_gradient()[2 * i + 1] = slope;
  }
  return loss;
}

struct Trained {
  std::string bytes;
  double accuracy = 0;
};

Trained train_stripes(unsigned threads, double average_decay, const TrainingMeans& means = {}) {
  core::TrainingPool pool(threads);
  Network net = stripe_network();
  core::Random random({5});
  net.initialise(random);
  TrainingPlan plan;
  plan.steps = 120;
  plan.peak_rate = 1e-2;
  plan.seed = 9;
  plan.average_decay = average_decay;
  plan.clip_norm = 1;
  train(net, {8, kSide, kSide}, stripe_loss, plan, pool, means);
  const Inference inference(net, Number::kFloat);
  Trained trained;
  for (int i = 0; i < 200; ++i) {
    std::vector<float> image(kArea);
    const int label = draw_stripes(random, image.data());
    const Answer answer = inference(image.data(), {1, kSide, kSide});
    trained.accuracy += (answer.values[1] > answer.values[0]) == (label == 1) ? 0.005 : 0;
  }
  core::ByteWriter writer;
  write_weights(writer, net);
  trained.bytes = writer.take();
  return trained;
}

TEST(Training, LearnsWithEveryKernelAndNumber) {
  for (const KernelSet* kernels : {onednn_kernels(), &portable_kernels()}) {
    if (kernels == nullptr) continue;
    for (const Number number : {Number::kFloat, kernels->fastest_number()}) {
      EXPECT_GT(train_stripes(2, 0, {*kernels, number}).accuracy, 0.95) << kernels->name();
    }
  }
}

TEST(Training, GivesTheSameBytesWithAnyNumberOfThreads) {
  const Trained one = train_stripes(1, 0);
  EXPECT_EQ(one.bytes, train_stripes(2, 0).bytes);
  const Trained averaged = train_stripes(3, 0.9);
  EXPECT_NE(one.bytes, averaged.bytes);
  EXPECT_GT(averaged.accuracy, 0.95);
}

TEST(Training, IsDisturbedNeitherByAnotherNorByTheHostsRounding) {
  const std::string alone = train_stripes(2, 0.9).bytes;
  std::string first, second;
  std::thread other([&] { first = train_stripes(2, 0.9).bytes; });
  std::fesetround(FE_UPWARD);
  core::TrainingPool pool(1);
  Network net = stripe_network();
  TrainingPlan plan;
  plan.steps = 1;
  train(net, {8, kSide, kSide}, stripe_loss, plan, pool);
  EXPECT_EQ(std::fegetround(), FE_UPWARD);
  std::fesetround(FE_TONEAREST);
  second = train_stripes(1, 0.9).bytes;
  other.join();
  EXPECT_EQ(first, alone);
  EXPECT_EQ(second, alone);
}

TEST(Training, StopsWhenALossOrAWeightIsNotFinite) {
  core::TrainingPool pool(1);
  TrainingPlan plan;
  plan.steps = 1;
  const struct {
    double loss;
    float slope;
    const char* message;
  } cases[] = {{NAN, 0, "the loss of step 1"},
               {0, INFINITY, "a weight is not finite after the last step"}};
  for (const auto& one : cases) {
    Network net = stripe_network();
    const auto work = [&] {
      train(
          net, {1, kSide, kSide},
          [&](ChunkPass& pass, int, int, core::Random& random) {
            draw_stripes(random, pass.input());
            pass.forward();
            std::fill_n(pass.answer_gradient(), pass.answer_shape().count(), one.slope);
            return one.loss;
          },
          plan, pool);
    };
    test::expect_error<types::exception>(work, one.message);
  }
}

}  // namespace
}  // namespace telvar::nn

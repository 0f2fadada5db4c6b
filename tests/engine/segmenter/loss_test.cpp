#include "segmenter/network/loss.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/random.h"
#include "segmenter/exclusive_loss.h"

namespace telvar::segmenter {
namespace {

constexpr int kCategories = 3;

/// Two crops; category 1 is not known in the second and belongs nowhere in the first. A pixel
/// belongs to one category at most.
struct Example {
  ChunkTargets targets{2, 1500, kCategories, {}, {1, 1, 1, 1, 0, 1}};
  std::vector<float> logits;

  explicit Example(float largest) {
    core::Random random({1});
    for (std::size_t i = 0; i < targets.crops * targets.pixels * kCategories; ++i) {
      const bool free = i % kCategories == 0 || targets.belongs[i - i % kCategories] == 0;
      targets.belongs.push_back(free && i % kCategories != 1 && random.chance(0.3f));
      logits.push_back(random.uniform(-largest, largest));
    }
  }

  double value(Loss loss) const {
    std::vector<float> gradient(logits.size());
    return loss(logits.data(), targets, gradient.data());
  }
};

struct Case {
  Loss loss;
  double of_sure_errors;  // where every logit is 80 on the wrong side
};

class SegmentationLoss : public testing::TestWithParam<Case> {};

TEST_P(SegmentationLoss, FallsAlongItsGradientAsMuchAsThatSays) {
  Example example(4);
  std::vector<float> gradient(example.logits.size());
  GetParam().loss(example.logits.data(), example.targets, gradient.data());
  for (const std::size_t i : {0u, 1u, 2u, 3001u, 4502u, 8999u}) {
    constexpr float kStep = 0.05f;
    Example more = example, less = example;
    more.logits[i] += kStep;
    less.logits[i] -= kStep;
    const double slope = (more.value(GetParam().loss) - less.value(GetParam().loss)) / (2 * kStep);
    EXPECT_NEAR(gradient[i], slope, 1e-3 * std::fabs(slope) + 1e-8) << i;
  }
}

TEST_P(SegmentationLoss, LeavesOutWhatIsNotKnown) {
  Example example(4);
  const double before = example.value(GetParam().loss);
  std::vector<float> gradient(example.logits.size());
  const std::size_t of_second_crop = example.targets.pixels * kCategories;
  for (std::size_t i = of_second_crop + 1; i < example.logits.size(); i += kCategories) {
    example.logits[i] += 7;
  }
  EXPECT_EQ(GetParam().loss(example.logits.data(), example.targets, gradient.data()), before);
  EXPECT_EQ(gradient[of_second_crop + 1], 0);
  EXPECT_NE(gradient[of_second_crop], 0);
}

TEST_P(SegmentationLoss, IsFiniteHoweverWrongAndNotWhereLogitsAreNot) {
  Example wrong(4);
  for (std::size_t i = 0; i < wrong.logits.size(); ++i) {
    wrong.logits[i] = wrong.targets.belongs[i] ? -80.0f : 80.0f;
  }
  EXPECT_NEAR(wrong.value(GetParam().loss), GetParam().of_sure_errors, 0.5);
  wrong.logits[4] = std::nanf("");
  EXPECT_FALSE(std::isfinite(wrong.value(GetParam().loss)));
}

INSTANTIATE_TEST_SUITE_P(OfTrainingsAndOfTheBase, SegmentationLoss,
                         testing::Values(Case{segmentation_loss, 80 + 1},
                                         Case{exclusive_loss, -std::log(1e-12) + 1}));

}  // namespace
}  // namespace telvar::segmenter

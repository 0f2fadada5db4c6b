#include "classifier/kernel/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "classifier/evaluation.h"
#include "classifier/features/orders.h"
#include "classifier/stacking.h"
#include "classifier/symmetry_search.h"
#include "core/random.h"

namespace telvar::classifier {
namespace {

Matrix random_matrix(int rows, int columns, std::uint64_t seed) {
  core::Random random({seed});
  Matrix matrix(rows, columns);
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < columns; ++j) matrix.at(i, j) = random.normal();
  }
  return matrix;
}

TEST(Dense, FactorisesAndInverts) {
  core::WorkerPool pool(2);
  for (const int n : {1, 3, 64, 65, 150}) {
    const Matrix root = random_matrix(n, n, 7);
    Matrix matrix = multiply_abt(root, root, pool);
    for (int i = 0; i < n; ++i) matrix.at(i, i) += static_cast<float>(n);
    Matrix lower = matrix;
    ASSERT_TRUE(cholesky(lower, pool));
    const Matrix inverse = inverse_transposed(lower, pool);
    const Matrix whole = multiply_abt(inverse, inverse, pool);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        double sum = 0;
        for (int k = 0; k < n; ++k) sum += double(whole.at(i, k)) * matrix.at(k, j);
        EXPECT_NEAR(sum, i == j, 2e-3) << n;
      }
    }
  }
  Matrix indefinite(2, 2);
  indefinite.at(0, 1) = indefinite.at(1, 0) = 1;
  EXPECT_FALSE(cholesky(indefinite, pool));
}

TEST(Dense, MultipliesWhatFillsNoBlock) {
  for (const auto& [rows, others, columns] :
       {std::array{1, 130, 70}, std::array{70, 1, 5}, std::array{66, 203, 33}}) {
    const Matrix a = random_matrix(rows, columns, 1), b = random_matrix(others, columns, 2);
    core::WorkerPool one(1), two(2);
    const Matrix product = multiply_abt(a, b, one), same = multiply_abt(a, b, two);
    for (int i = 0; i < rows; ++i) {
      for (int j = 0; j < others; ++j) {
        double sum = 0;
        for (int k = 0; k < columns; ++k) sum += double(a.at(i, k)) * b.at(j, k);
        ASSERT_NEAR(product.at(i, j), sum, 1e-4) << i << ", " << j;
        ASSERT_EQ(product.at(i, j), same.at(i, j));
      }
    }
  }
}

/// Two overlapping clouds, told apart by one group.
std::vector<Features> clouds(const std::vector<int>& labels, std::uint64_t seed,
                             int telling = kCoarseShape) {
  core::Random random({seed});
  std::vector<Features> all;
  for (const int label : labels) {
    Features features(kFeatureGroups);
    for (int g = 0; g < kFeatureGroups; ++g) {
      for (int k = 0; g != kColour && k < 6; ++k) {
        features[g].push_back(random.normal() +
                              (g == telling ? 1.2f * static_cast<float>(label) : 0));
      }
    }
    all.push_back(features);
  }
  return all;
}

/// Features that stay where they are, and in which each group's are read backwards.
std::vector<FeatureOrder> as_they_are_and_backwards() {
  FeatureOrder kept(kFeatureGroups, {0, 1, 2, 3, 4, 5});
  FeatureOrder backwards(kFeatureGroups, {5, 4, 3, 2, 1, 0});
  kept[kColour].clear(), backwards[kColour].clear();
  return {kept, backwards};
}

TEST(KernelChoice, WeighsCovariancesWhereTheyTellMore) {
  core::TrainingPool pool(1);
  std::vector<int> labels;
  for (int i = 0; i < 80; ++i) labels.push_back(i % 2);
  const std::vector<FeatureOrder> orders = {as_they_are_and_backwards()[0]};
  for (const int telling : {kCoarseShape, kCovariance}) {
    const auto choice = choose_kernel(clouds(labels, 3, telling), labels, 2, orders, pool);
    EXPECT_EQ(choice.groups()[kCovariance], telling == kCovariance);
    EXPECT_TRUE(choice.groups()[telling]);
  }
}

TEST(KernelMachine, LeavingOneOutIsWhatTrainingWithoutItGives) {
  core::TrainingPool pool(1);
  std::vector<int> labels;
  for (int i = 0; i < 40; ++i) labels.push_back(i % 2);
  const std::vector<Features> samples = clouds(labels, 3), fresh = clouds(labels, 4);
  const std::vector<FeatureOrder> orders = as_they_are_and_backwards();
  for (const std::size_t alike : {1, 2}) {
    const std::vector<FeatureOrder> first(orders.begin(), orders.begin() + alike);
    const KernelChoice choice = choose_kernel(samples, labels, 2, first, pool);
    KernelAnswer held_out;
    const KernelMachine machine =
        KernelMachine::learn(choice, samples, first, labels, 2, pool, held_out);
    const Matrix scores = machine.answer(fresh, pool).scores;
    EXPECT_GT(accuracy(scores, labels), 0.8);
    EXPECT_NEAR(accuracy(held_out.scores, labels), accuracy(scores, labels), 0.15);
    const std::vector<int> recognised =
        recognised_in_orders(choice, samples, labels, 2, {orders[0]}, pool)[0];
    if (alike == 1) {
      EXPECT_EQ(recognised[0] + recognised[1], std::lround(40 * accuracy(held_out.scores, labels)));
    }
    for (const int sample : {0, 17}) {
      std::vector<Features> others = samples;
      std::vector<int> their_labels = labels;
      others.erase(others.begin() + sample), their_labels.erase(their_labels.begin() + sample);
      KernelAnswer unused;
      const KernelMachine without =
          KernelMachine::learn(choice, others, first, their_labels, 2, pool, unused);
      const KernelAnswer answer = without.answer({samples[sample]}, pool);
      EXPECT_NEAR(answer.scores.at(0, 0), held_out.scores.at(sample, 0), 0.03);
      for (const int c : {0, 1}) {
        EXPECT_NEAR(answer.distances.at(0, c), held_out.distances.at(sample, c), 1e-4);
        EXPECT_NEAR(answer.covariance_distances.at(0, c),
                    held_out.covariance_distances.at(sample, c), 1e-4);
      }
    }

    core::ByteWriter writer;
    machine.write(writer);
    core::ByteReader reader(writer.bytes());
    KernelMachine restored = KernelMachine::read(reader, kFeatureGroups, machine.samples(), 2);
    reader.finish("kernel machine");
    restored.place_landmarks(samples, labels, first);
    EXPECT_EQ(restored.answer(fresh, pool).scores.at(0, 0), scores.at(0, 0));
  }
}

TEST(KernelMachine, AnswersAlikeInAllOrdersHoweverManySamplesAreAsked) {
  core::TrainingPool pool(2);
  std::vector<int> labels;
  for (int i = 0; i < 700; ++i) labels.push_back(i % 2);
  const std::vector<Features> all = clouds(labels, 6);
  const std::vector<Features> samples(all.begin(), all.begin() + 50);
  const std::vector<int> known(labels.begin(), labels.begin() + 50);
  const std::vector<FeatureOrder> orders = as_they_are_and_backwards();
  const KernelChoice choice = choose_kernel(samples, known, 2, orders, pool);
  KernelAnswer held_out;
  const KernelMachine machine =
      KernelMachine::learn(choice, samples, orders, known, 2, pool, held_out);
  std::vector<Features> backwards = all;
  for (Features& features : backwards) {
    for (auto& group : features) std::reverse(group.begin(), group.end());
  }
  const Matrix scores = machine.answer(all, pool).scores;
  const Matrix reversed = machine.answer(backwards, pool).scores;
  for (int i = 0; i < scores.rows(); ++i) {
    ASSERT_NEAR(scores.at(i, 0), reversed.at(i, 0), 1e-4) << i;
    ASSERT_EQ(scores.at(i, 0), machine.answer({all[i]}, pool).scores.at(0, 0)) << i;
  }
}

/// Noisy samples of random patterns, every second one mirrored. The first two kinds are not, but
/// may be each other's mirror image.
struct Patterns {
  Patterns(const Canvas& canvas, bool opposites) {
    core::Random random({8});
    const std::vector<int> mirror = order_under(canvas, {true, 0})[kPixels];
    const auto mirrored = [&](const std::vector<float>& pattern) {
      std::vector<float> out;
      for (const int from : mirror) out.push_back(pattern[from]);
      return out;
    };
    std::vector<std::vector<float>> kinds(kKinds, std::vector<float>(mirror.size()));
    for (auto& kind : kinds) {
      for (float& value : kind) value = random.normal();
    }
    if (opposites) kinds[1] = mirrored(kinds[0]);
    for (int i = 0; i < 10 * kKinds; ++i) {
      labels.push_back(i % kKinds);
      const bool turned = i / kKinds % 2 == 1 && !(opposites && labels[i] < 2);
      std::vector<float> pixels = turned ? mirrored(kinds[labels[i]]) : kinds[labels[i]];
      for (float& value : pixels) value += random.normal();
      samples.push_back({{}, {}, pixels, {}, {}, {}});
    }
  }

  static constexpr int kKinds = 8;
  std::vector<Features> samples;
  std::vector<int> labels;
};

TEST(Symmetry, IsForbiddenByTwoKindsThatAreEachOthersMirrorImage) {
  core::TrainingPool pool(2);
  Canvas canvas;
  canvas.width = 28, canvas.height = 20;
  const KernelChoice choice{{0, 0, 0.001f, 0, 0, 0}, 0.1f};
  for (const bool opposites : {false, true}) {
    const Patterns patterns(canvas, opposites);
    const Symmetry found =
        find_symmetry(patterns.samples, patterns.labels, canvas, choice, Patterns::kKinds, pool);
    EXPECT_EQ(found.mirrored, !opposites);
    EXPECT_EQ(found.turns, Turns::kNone);
  }
}

TEST(Stacking, PrefersTheSourceThatIsRightAndIsCalibrated) {
  core::Random random({5});
  std::vector<int> labels;
  Matrix good(400, 3), bad(400, 3);
  for (int i = 0; i < 400; ++i) {
    labels.push_back(random.below(3));
    for (int c = 0; c < 3; ++c) {
      good.at(i, c) = 10 * (labels[i] == c && random.chance(0.8f)) + 0.1f * random.normal();
      bad.at(i, c) = random.normal();
    }
  }
  const Stacking stacking = fit_stacking(good, bad, labels);
  const Matrix scores = stacked_scores(stacking, good, bad);
  EXPECT_GT(accuracy(scores, labels), 0.78);
  double confidence = 0;
  for (int i = 0; i < 400; ++i) {
    confidence += *std::max_element(scores.row(i), scores.row(i) + 3) / 400;
  }
  EXPECT_NEAR(confidence, accuracy(scores, labels), 0.06);
}

TEST(Stacking, ScoresAllAlikeWhatOverflows) {
  Matrix network(1, 4);
  for (int c = 0; c < 4; ++c) network.at(0, c) = 1e38f * static_cast<float>(1 + c % 3);
  for (const float weight : {3e38f, -3e38f}) {
    const Matrix scores = stacked_scores({weight, 0}, network, Matrix());
    for (int c = 0; c < 4; ++c) EXPECT_EQ(scores.at(0, c), 0.25f) << weight;
  }
}

}  // namespace
}  // namespace telvar::classifier

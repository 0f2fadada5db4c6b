#include "classifier/novelty.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "core/random.h"

namespace telvar::classifier {
namespace {

/// Recognised samples of two categories in turn; the second one's lie wider apart.
struct Recognised {
  explicit Recognised(int count) : scores(count, 2), kernel(KernelAnswer::of(count, 2, true)) {
    core::Random random({5});
    for (int i = 0; i < count; ++i) {
      const int c = i % 2;
      labels.push_back(c);
      scores.at(i, c) = 0.6f + 0.4f * static_cast<float>(i) / static_cast<float>(count);
      scores.at(i, 1 - c) = 1 - scores.at(i, c);
      kernel.scores.at(i, c) = 0.9f + 0.05f * random.normal();
      kernel.scores.at(i, 1 - c) = 0.1f + 0.05f * random.normal();
      kernel.distances.at(i, c) = (c == 0 ? 1.0f : 2.0f) + 0.1f * random.normal();
      kernel.covariance_distances.at(i, c) = (c == 0 ? 5.0f : 3.0f) + 0.2f * random.normal();
    }
  }
  Matrix scores;
  KernelAnswer kernel;
  std::vector<int> labels;
};

/// What 0.9 of two scores becomes when they are mixed with 95 % of equal ones.
constexpr float kFlattestOfBest = 0.5f + 0.05f * 0.4f;

/// The best score of a sample that is answered with `category`.
float best_after(const Novelty& novelty, int category, float kernel_score, float distance,
                 float covariance_distance) {
  Matrix scores(1, 2);
  scores.at(0, category) = 0.9f, scores.at(0, 1 - category) = 0.1f;
  KernelAnswer kernel = KernelAnswer::of(1, 2, true);
  kernel.scores.at(0, category) = kernel_score, kernel.scores.at(0, 1 - category) = 0.1f;
  kernel.distances.at(0, category) = distance;
  kernel.covariance_distances.at(0, category) = covariance_distance;
  flatten(novelty, kernel, scores);
  EXPECT_NEAR(scores.at(0, 0) + scores.at(0, 1), 1, 1e-6);
  EXPECT_GT(scores.at(0, category), scores.at(0, 1 - category));
  return scores.at(0, category);
}

TEST(Novelty, FlattensScoresOfSamplesUnlikeThoseOfTheAnsweredCategory) {
  const Recognised known(400);
  const auto novelty = measure_novelty(known.scores, known.kernel, known.labels);
  ASSERT_TRUE(novelty);
  EXPECT_FLOAT_EQ(best_after(*novelty, 0, 0.9f, 1.0f, 5.0f), 0.9f);
  EXPECT_FLOAT_EQ(best_after(*novelty, 1, 0.9f, 2.0f, 3.0f), 0.9f) << "usual for the second one";
  for (const float lowered :
       {best_after(*novelty, 0, 0.9f, 4.0f, 5.0f), best_after(*novelty, 0, -0.5f, 1.0f, 5.0f),
        best_after(*novelty, 0, 0.9f, 1.0f, 15.0f)}) {
    EXPECT_NEAR(lowered, kFlattestOfBest, 1e-3f) << "far, or near but fitting nothing";
  }
  const float between = best_after(*novelty, 0, 0.9f, 1.6f, 5.0f);
  EXPECT_GT(between, kFlattestOfBest + 0.05f);
  EXPECT_LT(between, 0.85f);
  Matrix scores = known.scores;
  flatten(*novelty, known.kernel, scores);
  int lowered = 0;
  for (int i = 0; i < scores.rows(); ++i) {
    lowered += scores.at(i, known.labels[i]) < known.scores.at(i, known.labels[i]) - 1e-4f;
  }
  EXPECT_NEAR(lowered, 40, 5) << "of 400 known samples";
}

TEST(Novelty, OfVersion2DoesWithoutCovariances) {
  const Recognised known(400);
  Novelty novelty = *measure_novelty(known.scores, known.kernel, known.labels);
  novelty.usual_covariances.clear();
  core::ByteWriter writer;
  write_novelty(writer, novelty);
  // New is the scale of covariance distances, at the end.
  const std::string bytes = writer.bytes().substr(0, writer.bytes().size() - sizeof(float));
  core::ByteReader reader(bytes);
  const auto read = read_novelty(reader, 2, 2);
  reader.finish("novelty");
  ASSERT_TRUE(read);
  EXPECT_FLOAT_EQ(best_after(*read, 0, 0.9f, 1.0f, 7.0f), 0.9f) << "covariances do not count";
  EXPECT_NEAR(best_after(*read, 0, 0.9f, 4.0f, 5.0f), kFlattestOfBest, 1e-5);
}

TEST(Novelty, IsNotMeasuredOnTooFewRecognisedSamples) {
  const Recognised few(48);
  EXPECT_FALSE(measure_novelty(few.scores, few.kernel, few.labels));
  const Recognised many(120);
  std::vector<int> wrong = many.labels;
  for (int& label : wrong) label = 1 - label;
  EXPECT_FALSE(measure_novelty(many.scores, many.kernel, wrong));
}

TEST(Novelty, IsReadAsWrittenUnlessDamaged) {
  const Recognised known(120);
  const auto novelty = measure_novelty(known.scores, known.kernel, known.labels);
  core::ByteWriter writer;
  write_novelty(writer, novelty);
  write_novelty(writer, std::nullopt);
  core::ByteReader reader(writer.bytes());
  const auto read = read_novelty(reader, 2, 3);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->usual_distances, novelty->usual_distances);
  EXPECT_EQ(best_after(*read, 0, 0.8f, 1.2f, 5.1f), best_after(*novelty, 0, 0.8f, 1.2f, 5.1f));
  EXPECT_FALSE(read_novelty(reader, 2, 3));
  reader.finish("novelty");

  Novelty flat = *novelty, turned = *novelty;
  flat.residual_scale = 0;
  turned.flattest_from = turned.flat_from;
  for (const auto& [damaged, text] : {std::pair(flat, "a scale is not above 0"),
                                      std::pair(turned, "flattest before they are flat")}) {
    core::ByteWriter bad;
    write_novelty(bad, damaged);
    core::ByteReader bytes(bad.bytes());
    try {
      read_novelty(bytes, 2, 3);
      ADD_FAILURE() << text;
    } catch (const core::malformed_bytes& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(text));
    }
  }
}

}  // namespace
}  // namespace telvar::classifier

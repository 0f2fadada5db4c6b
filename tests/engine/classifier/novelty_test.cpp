#include "classifier/novelty.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "core/random.h"

namespace telvar::classifier {
namespace {

/// Recognised samples of two categories in turn; the second one's lie wider apart.
struct Recognised {
  explicit Recognised(int count) : scores(count, 2), kernel{Matrix(count, 2), Matrix(count, 2)} {
    core::Random random({5});
    for (int i = 0; i < count; ++i) {
      const int c = i % 2;
      labels.push_back(c);
      scores.at(i, c) = 0.9f, scores.at(i, 1 - c) = 0.1f;
      kernel.scores.at(i, c) = 0.9f + 0.05f * random.normal();
      kernel.scores.at(i, 1 - c) = 0.1f + 0.05f * random.normal();
      kernel.distances.at(i, c) = (c == 0 ? 1.0f : 2.0f) + 0.1f * random.normal();
    }
  }
  Matrix scores;
  KernelAnswer kernel;
  std::vector<int> labels;
};

/// The best score of a sample that is answered with `category`.
float best_after(const Novelty& novelty, int category, float kernel_score, float distance) {
  Matrix scores(1, 2);
  scores.at(0, category) = 0.9f, scores.at(0, 1 - category) = 0.1f;
  KernelAnswer kernel{Matrix(1, 2), Matrix(1, 2)};
  kernel.scores.at(0, category) = kernel_score, kernel.scores.at(0, 1 - category) = 0.1f;
  kernel.distances.at(0, category) = distance;
  flatten(novelty, kernel, scores);
  EXPECT_NEAR(scores.at(0, 0) + scores.at(0, 1), 1, 1e-6);
  EXPECT_GT(scores.at(0, category), scores.at(0, 1 - category));
  return scores.at(0, category);
}

TEST(Novelty, FlattensScoresOfSamplesUnlikeThoseOfTheAnsweredCategory) {
  const Recognised known(400);
  const auto novelty = measure_novelty(known.scores, known.kernel, known.labels);
  ASSERT_TRUE(novelty);
  EXPECT_FLOAT_EQ(best_after(*novelty, 0, 0.9f, 1.0f), 0.9f);
  EXPECT_LT(best_after(*novelty, 0, 0.9f, 2.0f), 0.55f) << "far for the first category";
  EXPECT_FLOAT_EQ(best_after(*novelty, 1, 0.9f, 2.0f), 0.9f) << "usual for the second one";
  EXPECT_LT(best_after(*novelty, 0, 0.4f, 1.0f), 0.55f) << "near, but the scores fit nothing";
  Matrix scores = known.scores;
  flatten(*novelty, known.kernel, scores);
  int lowered = 0;
  for (int i = 0; i < scores.rows(); ++i) lowered += scores.at(i, known.labels[i]) < 0.89f;
  EXPECT_NEAR(lowered, 20, 5) << "of 400 known samples";
}

TEST(Novelty, IsNotMeasuredOnTooFewRecognisedSamples) {
  const Recognised few(98);
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
  const auto read = read_novelty(reader, 2);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->usual_distances, novelty->usual_distances);
  EXPECT_EQ(best_after(*read, 0, 0.8f, 1.2f), best_after(*novelty, 0, 0.8f, 1.2f));
  EXPECT_FALSE(read_novelty(reader, 2));
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
      read_novelty(bytes, 2);
      ADD_FAILURE() << text;
    } catch (const core::malformed_bytes& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(text));
    }
  }
}

}  // namespace
}  // namespace telvar::classifier

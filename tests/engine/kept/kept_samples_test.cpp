// State that a released version wrote loads and answers as it did there.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>

#include "kept_samples.h"

namespace telvar::test {
namespace {

/// The samples of version 1.0, or those that the environment names.
std::filesystem::path folder() {
  const char* named = std::getenv("TELVAR_KEPT_SAMPLES");
  return named != nullptr ? named : TELVAR_KEPT_SAMPLES;
}

std::string kept(const std::string& name) {
  const std::string bytes = read_file(folder() / name);
  EXPECT_FALSE(bytes.empty()) << name;
  return bytes;
}

/// Loads a kept cache; throws what load throws.
template <class Cache>
void load_kept(Cache& cache, const std::string& name) {
  std::istringstream stream(kept(name));
  load(cache, stream);
}

template <class Cache>
std::string saved(const Cache& cache) {
  std::ostringstream stream;
  save(cache, stream);
  return stream.str();
}

/// Of scores, between what was kept and what this version answers.
constexpr float kScoreTolerance = 1e-3f;

TEST(KeptSamples, ReaderAnswersAsBefore) {
  msg::SampleResult before;
  ASSERT_TRUE(before.ParseFromString(kept("reader.answer")));
  const qv::ocr::Model model(kept("reader.artifact"), runtime_size(), types::CpuDevice());
  const msg::SampleResult now = read(model, unseen_page());
  EXPECT_EQ(texts(now), texts(before));
  ASSERT_EQ(now.characters_size(), before.characters_size());
  for (int i = 0; i < now.characters_size(); ++i) {
    const auto &found = now.characters(i), &wanted = before.characters(i);
    EXPECT_NEAR(found.first_value(), wanted.first_value(), 0.1) << "x of character " << i;
    EXPECT_NEAR(found.second_value(), wanted.second_value(), 0.1) << "y of character " << i;
    EXPECT_NEAR(found.third_value(), wanted.third_value(), kScoreTolerance) << "character " << i;
    ASSERT_EQ(found.category_scores_size(), wanted.category_scores_size());
    EXPECT_EQ(found.category_scores(0).category_id(), wanted.category_scores(0).category_id());
    EXPECT_NEAR(found.category_scores(0).score(), wanted.category_scores(0).score(),
                kScoreTolerance)
        << "character " << i;
  }
}

TEST(KeptSamples, ClassifierAnswersAsBefore) {
  const qv::classifier::Model model(kept("classifier.artifact"), "", types::CpuDevice());
  for (int kind = 0; kind < 3; ++kind) {
    messages::Result before, now;
    ASSERT_TRUE(before.ParseFromString(kept("classifier.answer" + std::to_string(kind))));
    ASSERT_TRUE(now.ParseFromString(
        model.process(types::ImageView(unseen_image(kind)), {1, 0, 0, 0, 1, 0}, {0, 0})));
    ASSERT_EQ(now.sample().scores_size(), before.sample().scores_size());
    for (int i = 0; i < now.sample().scores_size(); ++i) {
      EXPECT_EQ(now.sample().scores(i).category_id(), before.sample().scores(i).category_id());
      EXPECT_NEAR(now.sample().scores(i).score(), before.sample().scores(i).score(),
                  kScoreTolerance);
    }
  }
}

TEST(KeptSamples, SegmenterAnswersAsBefore) {
  const std::string before = kept("segmenter.answer");
  const qv::segmenter::Model model(kept("segmenter.artifact"), "", types::CpuDevice());
  const std::string now = pixels_of(
      std::get<1>(model.process(types::ImageView(unseen_scene()), {1, 0, 0, 0, 1, 0}, {0, 0})));
  ASSERT_EQ(now.size(), before.size());
  double off = 0;
  int largest = 0;
  for (std::size_t i = 0; i < now.size(); ++i) {
    const int difference =
        std::abs(static_cast<unsigned char>(now[i]) - static_cast<unsigned char>(before[i]));
    off += difference / 255.0 / static_cast<double>(now.size());
    largest = std::max(largest, difference);
  }
  EXPECT_LT(off, kScoreTolerance);
  EXPECT_LE(largest, 12) << "of 255, at single pixels";
}

TEST(KeptSamples, CachesLoadAndAreWrittenAgainAlike) {
  const auto reader = qv::ocr::TrainCache::create(1 << 20);
  load_kept(*reader, "reader.cache");
  EXPECT_EQ(saved(*reader), kept("reader.cache"));
  const auto classifier = qv::classifier::TrainCache::create(false);
  load_kept(*classifier, "classifier.cache");
  EXPECT_EQ(saved(*classifier), kept("classifier.cache"));
  const auto segmenter = qv::segmenter::TrainCache::create(false, 1 << 20);
  load_kept(*segmenter, "segmenter.cache");
  EXPECT_EQ(saved(*segmenter), kept("segmenter.cache"));
}

}  // namespace
}  // namespace telvar::test

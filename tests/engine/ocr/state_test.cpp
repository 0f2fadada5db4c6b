// The bytes that a training leaves behind: the same whatever the circumstances, and refused when
// they are not what was written.

#include <gmock/gmock.h>

#include <iostream>
#include <sstream>
#include <thread>

#include "../support/other_environment.h"
#include "core/artifact.h"
#include "core/cache_session.h"
#include "ocr/dataset.h"
#include "ocr/limits.h"
#include "ocr/training.h"
#include "pages.h"
#include "telvar/exceptions.h"

namespace telvar::test {
namespace {

constexpr int kStageSteps = 1;

PageSet some_pages() {
  PageSet set;
  for (std::uint64_t page = 0; page < 9; ++page) {
    set.add("page-" + std::to_string(page), draw_page(page));
  }
  return set;
}

/// The artifact of a very short training.
std::string train_briefly(unsigned threads, core::TrainCacheStore& store) {
  const PageSet pages = some_pages();
  const ocr::LabelledDataset dataset = ocr::parse_dataset(pages.dataset());
  core::CacheSession session(store);
  std::vector<ocr::PreparedSample> samples;
  for (const ocr::DatasetSample& sample : dataset.samples) {
    samples.push_back(
        ocr::load_sample(sample, dataset.size, dataset.categories, pages.loader(), session));
  }
  session.commit();
  core::TrainingPool pool(threads);
  return ocr::write_state(ocr::train_reader(std::nullopt, dataset.categories, dataset.size,
                                            std::move(samples), kStageSteps, pool)
                              .state);
}

const std::string& artifact() {
  static const std::string bytes = [] {
    core::TrainCacheStore none(core::Tool::kOcr, 0);
    return train_briefly(1, none);
  }();
  return bytes;
}

TEST(ReaderArtifact, IsTheSameWithMoreThreadsWithACacheAndBesideAnotherTraining) {
  core::TrainCacheStore cache(core::Tool::kOcr, 1 << 24), other(core::Tool::kOcr, 0);
  EXPECT_EQ(train_briefly(2, cache), artifact());
  EXPECT_EQ(cache.size(), 9u);
  std::string beside;
  std::thread thread([&] { beside = train_briefly(2, other); });
  EXPECT_EQ(train_briefly(3, cache), artifact()) << "from a filled cache";
  thread.join();
  EXPECT_EQ(beside, artifact());
}

/// Run by the next test in a process of its own.
TEST(ReaderArtifact, DISABLED_PrintsItsDigest) {
  std::cout << digest_line(artifact()) << std::flush;
}

TEST(ReaderArtifact, DoesNotDependOnTheEnvironment) {
  EXPECT_THAT(printed_in_another_environment("*PrintsItsDigest"),
              testing::HasSubstr(digest_line(artifact())));
}

TEST(ReaderArtifact, IsReadAndWrittenWithoutAChange) {
  EXPECT_EQ(ocr::write_state(ocr::read_state(artifact())), artifact());
}

template <class Exception>
void expect_refused(const std::string& bytes, const std::string& what) {
  EXPECT_THROW(qv::ocr::Model(bytes, runtime_size(), types::CpuDevice()), Exception) << what;
}

TEST(ReaderArtifact, IsRefusedWhenAnythingIsWrongWithIt) {
  using types::invalid_training_artifact;
  expect_refused<invalid_training_artifact>("", "empty");
  expect_refused<invalid_training_artifact>("no artifact at all", "foreign");
  expect_refused<invalid_training_artifact>(artifact() + '\0', "trailing byte");
  for (std::size_t size = 1; size < artifact().size(); size += artifact().size() / 23) {
    expect_refused<invalid_training_artifact>(artifact().substr(0, size), "cut off");
  }
  const core::OpenedArtifact opened =
      core::open_artifact(artifact(), core::Tool::kOcr, ocr::kArtifactVersion);
  const std::string payload(opened.payload);
  expect_refused<types::training_artifact_tool_type_error>(
      core::write_artifact(core::Tool::kSegmenter, 1, payload), "another tool");
  expect_refused<types::training_artifact_unsupported_version>(
      core::write_artifact(core::Tool::kOcr, ocr::kArtifactVersion + 1, payload), "newer");
  expect_refused<invalid_training_artifact>(
      core::write_artifact(core::Tool::kOcr, 1, payload + "x"), "payload too long");
  expect_refused<invalid_training_artifact>(
      core::write_artifact(core::Tool::kOcr, 1, payload.substr(0, payload.size() - 1)),
      "payload too short");
}

TEST(ReaderArtifact, IsRefusedWhenItsChecksumHoldsButItsValuesDoNot) {
  const std::string payload(
      core::open_artifact(artifact(), core::Tool::kOcr, ocr::kArtifactVersion).payload);
  // Width, generation excepted, category count, first category's length, first category.
  for (const std::size_t place : {3u, 7u, 12u, 15u, 16u, 20u}) {
    std::string changed = payload;
    changed[place] = static_cast<char>(0xff);
    expect_refused<types::invalid_training_artifact>(
        core::write_artifact(core::Tool::kOcr, ocr::kArtifactVersion, changed),
        "payload byte " + std::to_string(place));
  }
}

TEST(ReaderArtifact, IsRefusedWhenAnExemplarsLabelLiesOutsideIt) {
  const auto changed = [](const auto& change) {
    ocr::ReaderState state = ocr::read_state(artifact());
    ocr::PreparedSample& exemplar = state.experts.at(0).exemplars.at(0);
    exemplar.unlabelled = {{0, 5, 5}};
    change(exemplar);
    return ocr::write_state(state);
  };
  EXPECT_NO_THROW(ocr::read_state(changed([](const auto&) {})));
  for (const float place : {3e38f, -2147483648.0f, -0.6f, float(ocr::kExemplarWidth) - 0.5f}) {
    const std::string what = std::to_string(place);
    expect_refused<types::invalid_training_artifact>(
        changed([=](auto& exemplar) { exemplar.labels.at(0).x = place; }), "label x " + what);
    expect_refused<types::invalid_training_artifact>(
        changed([=](auto& exemplar) { exemplar.unlabelled[0].y = place; }), "place y " + what);
  }
}

TEST(ReaderCache, ComesBackFromAStreamAndReportsATroubledOne) {
  const auto cache = qv::ocr::TrainCache::create(~0ull);
  std::stringstream stream;
  qv::ocr::save(*cache, stream);
  EXPECT_NO_THROW(qv::ocr::load(*cache, stream));
  std::stringstream garbage("garbage");
  EXPECT_THROW(qv::ocr::load(*cache, garbage), types::read_error);
  std::stringstream closed;
  closed.setstate(std::ios::badbit);
  EXPECT_THROW(qv::ocr::save(*cache, closed), types::write_error);
}

}  // namespace
}  // namespace telvar::test

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "classifier/state.h"
#include "core/artifact.h"
#include "core/random.h"
#include "drawn_images.h"
#include "telvar/exceptions.h"

namespace telvar::test {
namespace {

constexpr std::uint32_t kVersion = 3;  // of the payload

class ClassifierArtifact : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    training_.add(0, 0, 3);
    training_.add(1, 0, 3);
    artifact_ = train(training_, "", 1).artifact;
  }
  static void build(const std::string& bytes) {
    const engine::Model model(bytes, "", types::CpuDevice(1));
  }
  static ImageSet training_;
  static std::string artifact_;
};

ImageSet ClassifierArtifact::training_;
std::string ClassifierArtifact::artifact_;

TEST_F(ClassifierArtifact, IsRefusedWithAnyByteChangedOrMissing) {
  build(artifact_);
  core::Random random({3});
  // Every byte of the head, and a sample of the rest.
  for (int round = 0; round < 600; ++round) {
    const std::size_t at = round < 200
                               ? static_cast<std::size_t>(round)
                               : static_cast<std::size_t>(random.below(int(artifact_.size())));
    std::string bad = artifact_;
    bad[at] = static_cast<char>(bad[at] ^ (1 << random.below(8)));
    EXPECT_THROW(build(bad), types::invalid_training_artifact) << at;
    EXPECT_THROW(build(artifact_.substr(0, at)), types::invalid_training_artifact) << at;
  }
}

// A damage that also mends the checksum must end in an exception too, or in a working model.
TEST_F(ClassifierArtifact, SurvivesForgedPayloads) {
  const auto opened = core::open_artifact(artifact_, core::Tool::kClassifier, kVersion);
  core::Random random({4});
  for (int round = 0; round < 150; ++round) {
    std::string payload(opened.payload);
    const int at = round < 100 ? round : random.below(static_cast<int>(payload.size()));
    payload[at] = static_cast<char>(random.below(256));
    if (round % 5 == 0) payload.resize(payload.size() - random.below(50));
    try {
      const engine::Model model(core::write_artifact(core::Tool::kClassifier, kVersion, payload),
                                "", types::CpuDevice(1));
      const types::Image& image = training_.images.begin()->second;
      model.process(types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0});
    } catch (const types::invalid_training_artifact&) {
    }
  }
  EXPECT_THROW(build(core::write_artifact(core::Tool::kClassifier, kVersion,
                                          std::string(opened.payload) + '\0')),
               types::invalid_training_artifact);
  EXPECT_THROW(build(core::write_artifact(core::Tool::kClassifier, kVersion + 1, opened.payload)),
               types::training_artifact_unsupported_version);
  EXPECT_THROW(build(core::write_artifact(core::Tool::kSegmenter, 1, opened.payload)),
               types::training_artifact_tool_type_error);
}

TEST_F(ClassifierArtifact, IsRefusedWithAValueThatIsNotFinite) {
  const auto opened = core::open_artifact(artifact_, core::Tool::kClassifier, kVersion);
  std::string payload(opened.payload);
  const std::size_t weights = payload.find("convolution.weight");
  ASSERT_NE(weights, std::string::npos);
  const float nan = std::nanf("");
  std::memcpy(&payload[weights + 18 + 1 + 16], &nan, 4);
  EXPECT_THROW(build(core::write_artifact(core::Tool::kClassifier, kVersion, payload)),
               types::invalid_training_artifact);
}

TEST_F(ClassifierArtifact, IsFineTunedThoughItHeldEverythingOut) {
  core::WorkerPool pool(1);
  classifier::ClassifierState state = classifier::read_state(artifact_, pool);
  for (auto& exemplar : state.exemplars) exemplar.fold = 0;
  build(train(training_, classifier::write_state(state), 1).artifact);
}

TEST_F(ClassifierArtifact, IsRefusedWithTransformsThatItCannotHave) {
  core::WorkerPool pool(1);
  classifier::ClassifierState state = classifier::read_state(artifact_, pool);
  for (const bool mirrored : {false, true}) {
    for (const auto turns :
         {classifier::Turns::kNone, classifier::Turns::kUpsideDown, classifier::Turns::kAny}) {
      state.symmetry = {mirrored, turns};
      const auto read = classifier::read_state(classifier::write_state(state), pool).symmetry;
      EXPECT_EQ(read.mirrored, mirrored);
      EXPECT_EQ(read.turns, turns);
    }
  }
  state.canvas.height = 16;
  state.exemplars.clear();
  state.has_kernel = false;
  try {
    build(classifier::write_state(state));
    ADD_FAILURE();
  } catch (const types::invalid_training_artifact& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("the canvas is not square"));
  }
}

// They would be described, which takes memory and time, before their coefficients turn out to be
// missing.
TEST_F(ClassifierArtifact, IsRefusedWithLandmarksThatItCannotHave) {
  core::WorkerPool pool(1);
  classifier::ClassifierState state = classifier::read_state(artifact_, pool);
  state.exemplars.resize(2001, state.exemplars[0]);
  state.has_kernel = false;
  const std::string plain = classifier::write_state(state);
  const auto opened = core::open_artifact(plain, core::Tool::kClassifier, kVersion);
  for (const auto& [landmarks, text] :
       {std::pair(2001u, "landmarks: 2001 is outside 0..2000"),
        std::pair(2000u, "4000 values wanted, 400 bytes are left")}) {
    core::ByteWriter forged;
    forged.raw(opened.payload.data(), opened.payload.size() - 4);
    forged.u32(landmarks);
    const std::vector<float> values(classifier::kFeatureGroups + 1 + 2 + 100, 1);
    forged.floats(values.data(), values.size());
    try {
      build(core::write_artifact(core::Tool::kClassifier, kVersion, forged.bytes()));
      ADD_FAILURE() << landmarks;
    } catch (const types::invalid_training_artifact& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(text));
    }
  }
}

}  // namespace
}  // namespace telvar::test

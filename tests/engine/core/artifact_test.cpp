#include "core/artifact.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/net.h"
#include "core/weights.h"

namespace telvar::core {
namespace {

TEST(Artifact, OpensWhatWasWritten) {
  const std::string artifact = write_artifact(Tool::kSegmenter, 3, "payload");
  const OpenedArtifact opened = open_artifact(artifact, Tool::kSegmenter, 5);
  EXPECT_EQ(opened.version, 3u);
  EXPECT_EQ(opened.payload, "payload");
}

TEST(Artifact, RefusesEveryChangedByteAndEveryTruncation) {
  const std::string good = write_artifact(Tool::kOcr, 1, "some payload");
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string bad = good;
      bad[i] = static_cast<char>(bad[i] ^ (1 << bit));
      EXPECT_THROW(open_artifact(bad, Tool::kOcr, 1), types::invalid_training_artifact) << i;
    }
    EXPECT_THROW(open_artifact(good.substr(0, i), Tool::kOcr, 1), types::invalid_training_artifact);
  }
  EXPECT_THROW(open_artifact(good + '\0', Tool::kOcr, 1), types::invalid_training_artifact);
}

TEST(Artifact, NamesAnotherToolAndANewerVersion) {
  const std::string artifact = write_artifact(Tool::kOcr, 2, "");
  try {
    open_artifact(artifact, Tool::kClassifier, 2);
    FAIL();
  } catch (const types::training_artifact_tool_type_error& error) {
    EXPECT_STREQ(error.what(), "this artifact belongs to the tool 'OCR', wanted is 'classifier'");
  }
  EXPECT_THROW(open_artifact(artifact, Tool::kOcr, 1),
               types::training_artifact_unsupported_version);
}

TEST(Bytes, RefuseSizesBeforeAllocating) {
  ByteWriter writer;
  writer.u64(std::uint64_t{1} << 60);
  writer.f32(NAN);
  ByteReader reader(writer.bytes());
  EXPECT_THROW(ByteReader(writer.bytes()).blob("blob"), malformed_bytes);
  EXPECT_THROW(ByteReader(writer.bytes()).floats("floats", std::uint64_t{1} << 61),
               malformed_bytes);
  reader.u64("length");
  EXPECT_THROW(reader.f32("value"), malformed_bytes);
}

TEST(Weights, FillOnlyAModuleOfTheSameShape) {
  Random random({1});
  ResidualBlock source(2, 3, 2), same(2, 3, 2), wider(2, 4, 2);
  initialise(*source, random);
  ByteWriter writer;
  write_state(writer, *source);
  ByteReader reader(writer.bytes());
  read_state(reader, *same);
  reader.finish("weights");
  for (const auto& [name, tensor] : state_of(*source)) {
    EXPECT_TRUE(torch::equal(tensor, state_of(*same).at(name))) << name;
  }
  ByteReader again(writer.bytes());
  EXPECT_THROW(read_state(again, *wider), malformed_bytes);
}

TEST(Net, FoldingKeepsTheAnswers) {
  const torch::InferenceMode inference;
  Random random({2});
  ResidualBlock block(2, 3, 2);
  initialise(*block, random);
  for (auto& [name, tensor] : state_of(*block)) {
    if (name.find("running_mean") != std::string::npos) torch::Tensor(tensor).fill_(0.3);
    if (name.find("running_var") != std::string::npos) torch::Tensor(tensor).fill_(2.5);
  }
  block->eval();
  const torch::Tensor input = torch::ones({1, 2, 7, 5});
  const torch::Tensor before = block(input).clone();
  fold_batch_norms(*block);
  EXPECT_TRUE(torch::allclose(block(input), before, 1e-4, 1e-5));
}

}  // namespace
}  // namespace telvar::core

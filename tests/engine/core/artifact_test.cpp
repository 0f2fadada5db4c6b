#include "core/artifact.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/bytes.h"
#include "core/messages.h"
#include "telvar_msg/common.pb.h"

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

TEST(Message, NamesSizeAndLimitWhenItIsTooLarge) {
  telvar_msg::common::Dataset dataset;
  (*dataset.mutable_samples())["key"].set_image_id("image");
  EXPECT_EQ(serialised(dataset, "batch", 16), dataset.SerializeAsString());
  try {
    serialised(dataset, "batch", 15);
    FAIL();
  } catch (const types::exception& error) {
    EXPECT_STREQ(error.what(), "batch: a message of 16 bytes, the limit is 15");
  }
}

}  // namespace
}  // namespace telvar::core

#include "core/artifact.h"

namespace telvar::core {
namespace {

// It has a byte above 127 and both kinds of line end, so that a transfer as text, which changes
// these, is noticed.
constexpr std::string_view kMagic("\x89TLV\r\n\x1A\n", 8);
constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kSummedHeader = 24;  // all but the checksum itself

std::uint64_t sum(std::string_view header, std::string_view payload) {
  ByteWriter sums;
  sums.u64(checksum(header.substr(0, kSummedHeader)));
  sums.u64(checksum(payload));
  return checksum(sums.bytes());
}

[[noreturn]] void refuse(Tool tool, const std::string& why) {
  throw types::invalid_training_artifact(std::string(name_of(tool)) + " artifact: " + why);
}

}  // namespace

const char* name_of(Tool tool) {
  switch (tool) {
    case Tool::kOcr:
      return "OCR";
    case Tool::kClassifier:
      return "classifier";
    case Tool::kSegmenter:
      return "segmenter";
  }
  return "unknown";
}

std::string write_artifact(Tool tool, std::uint32_t version, std::string_view payload) {
  ByteWriter header;
  header.raw(kMagic.data(), kMagic.size());
  header.u32(static_cast<std::uint32_t>(tool));
  header.u32(version);
  header.u64(payload.size());
  header.u64(sum(header.bytes(), payload));
  return header.take().append(payload);
}

OpenedArtifact open_artifact(std::string_view artifact, Tool tool, std::uint32_t newest_version) {
  if (artifact.empty()) refuse(tool, "it is empty");
  if (artifact.size() < kHeaderSize) {
    refuse(tool, std::to_string(artifact.size()) + " bytes, the header takes " +
                     std::to_string(kHeaderSize));
  }
  ByteReader reader(artifact);
  if (reader.raw("magic", kMagic.size()) != kMagic) refuse(tool, "this is no artifact");
  const std::uint32_t tool_number = reader.u32("tool");
  const std::uint32_t version = reader.u32("version");
  const std::uint64_t length = reader.u64("length");
  const std::uint64_t expected = reader.u64("checksum");
  const std::string_view payload = artifact.substr(kHeaderSize);
  if (length != payload.size()) {
    refuse(tool, "a payload of " + std::to_string(length) + " bytes is announced, " +
                     std::to_string(payload.size()) + " are there");
  }
  if (expected != sum(artifact, payload)) refuse(tool, "it is damaged (checksum)");
  if (tool_number != static_cast<std::uint32_t>(tool)) {
    throw types::training_artifact_tool_type_error("this artifact belongs to the tool '" +
                                                   std::string(name_of(Tool(tool_number))) +
                                                   "', wanted is '" + name_of(tool) + "'");
  }
  if (version == 0) refuse(tool, "version 0");
  if (version > newest_version) {
    throw types::training_artifact_unsupported_version(
        std::string(name_of(tool)) + " artifact: format version " + std::to_string(version) +
        ", this library reads up to " + std::to_string(newest_version));
  }
  return {version, payload};
}

}  // namespace telvar::core

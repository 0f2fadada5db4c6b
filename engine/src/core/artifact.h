#pragma once

// The container of trained state: what is common to the artifacts of all tools. The bytes are
// described in docs/state-formats.md.

#include <cstdint>
#include <string>
#include <string_view>

#include "core/bytes.h"
#include "telvar/exceptions.h"

namespace telvar::core {

enum class Tool : std::uint32_t { kOcr = 1, kClassifier = 2, kSegmenter = 3 };

/// "OCR", "classifier" or "segmenter".
const char* name_of(Tool tool);

/// Wraps a payload of the tool's format `version`.
std::string write_artifact(Tool tool, std::uint32_t version, std::string_view payload);

struct OpenedArtifact {
  std::uint32_t version;
  std::string_view payload;  // points into the artifact
};

/// Throws invalid_training_artifact (empty, damaged, truncated, trailing bytes),
/// training_artifact_unsupported_version (beyond `newest_version`),
/// training_artifact_tool_type_error.
OpenedArtifact open_artifact(std::string_view artifact, Tool tool, std::uint32_t newest_version);

/// Calls `parse(ByteReader&)` on a payload and returns what it returns; the reader must then be at
/// its end. Turns malformed_bytes into invalid_training_artifact.
template <class Parse>
auto parse_payload(Tool tool, std::string_view payload, Parse&& parse) {
  try {
    ByteReader reader(payload);
    auto parsed = parse(reader);
    reader.finish("artifact");
    return parsed;
  } catch (const malformed_bytes& error) {
    throw types::invalid_training_artifact(std::string(name_of(tool)) +
                                           " artifact: " + error.what());
  }
}

}  // namespace telvar::core

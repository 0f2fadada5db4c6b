#pragma once

// Everything that a training leaves behind: what a model is built from, and what a further
// training fine-tunes. docs/ocr-artifact.md describes the bytes.

#include <string>
#include <vector>

#include "ocr/experts/expert.h"

namespace telvar::ocr {

/// Version of the payload that this library writes, and the newest that it reads.
constexpr std::uint32_t kArtifactVersion = 3;

struct ReaderState {
  NominalSize size;                 // of the last training, region pixels
  std::uint32_t generation = 0;     // trainings so far
  std::vector<Expert> experts;      // at least one
  std::uint32_t base = 0;           // number of the base that the networks come from; 0: none
  std::vector<std::uint64_t> seen;  // digests of the images trained on, ascending

  /// The categories of all experts together, ascending.
  std::vector<std::string> categories() const;
};

std::string write_state(const ReaderState& state);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
ReaderState read_state(const std::string& artifact);

}  // namespace telvar::ocr

#pragma once

// Everything that a training leaves behind: what a model is built from, and what a further
// training goes on from. docs/ocr-artifact.md describes the bytes.

#include <string>
#include <vector>

#include "nn/network.h"
#include "ocr/exemplar_limits.h"
#include "ocr/prepared_sample.h"
#include "ocr/reader_limits.h"
#include "ocr/spacing.h"

namespace telvar::ocr {

/// Version of the payload that this library writes, and the newest that it reads.
constexpr std::uint32_t kArtifactVersion = 2;

struct ReaderState {
  NominalSize size;                     // of the training, region pixels
  std::uint32_t generation = 0;         // trainings so far
  std::vector<std::string> categories;  // ascending bytes
  Spacing spacing;
  nn::Network net;
  std::vector<PreparedSample> exemplars;
  /// Category scores are raised to this power and brought back to a sum of 1, so that of characters
  /// scored 0.9 nine in ten are right. Version 1 had none.
  float sharpness = 1;
  std::uint32_t base = 0;           // number of the base that the network comes from; 0: none
  std::vector<std::uint64_t> seen;  // digests of the images trained on, ascending
};

/// The most digests that a state holds; images beyond them count as not seen.
constexpr std::uint32_t kMaxSeen = 1u << 16;
constexpr float kLeastSharpness = 0.25f, kMostSharpness = 8;

std::string write_reader_state(const ReaderState& state);

/// Throws invalid_training_artifact, training_artifact_tool_type_error,
/// training_artifact_unsupported_version.
ReaderState read_reader_state(const std::string& artifact);

}  // namespace telvar::ocr

#pragma once

// Every engine failure with what the host must see of it, stated apart from the library's table.

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "telvar/exceptions.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {

struct FailureCase {
  std::string engine_type;
  void (*schedule)(const std::string& call, const std::string& text);
  std::string (*seen_by_host)(const std::string& text);
};

template <typename EngineError, typename Seen>
FailureCase Case(const std::string& engine_type) {
  return {engine_type,
          [](const std::string& call, const std::string& text) {
            engine::fail(call, EngineError(text));
          },
          [](const std::string& text) { return An<Seen>(text); }};
}

// Types that an engine may derive or add later.
struct FinerVersion : telvar::types::training_artifact_unsupported_version {
  using training_artifact_unsupported_version::training_artifact_unsupported_version;
};
struct FinerRoi : telvar::types::invalid_roi {
  using invalid_roi::invalid_roi;
};
struct FinerImage : telvar::types::invalid_image {
  using invalid_image::invalid_image;
};
struct Unforeseen : telvar::types::exception {
  using exception::exception;
};

inline std::vector<FailureCase> FailureCases() {
  using namespace telvar::types;
  return {
      Case<training_artifact_unsupported_version, UnsupportedTrainingArtifactVersionException>(
          "training_artifact_unsupported_version"),
      Case<read_error, InvalidTrainingArtifactException>("read_error"),
      Case<invalid_training_artifact, InvalidTrainingArtifactException>(
          "invalid_training_artifact"),
      Case<training_artifact_tool_type_error, InvalidTrainingArtifactException>(
          "training_artifact_tool_type_error"),
      Case<write_error, InvalidOperationException>("write_error"),
      Case<invalid_message, InvalidArgumentException>("invalid_message"),
      Case<invalid_parameters, InvalidArgumentException>("invalid_parameters"),
      Case<insufficient_number_of_samples, InvalidArgumentException>(
          "insufficient_number_of_samples"),
      Case<invalid_dataset, InvalidArgumentException>("invalid_dataset"),
      Case<invalid_roi, InvalidROIException>("invalid_roi"),
      Case<unsupported_roi_for_image_type, InvalidROIException>("unsupported_roi_for_image_type"),
      Case<invalid_image, InvalidImageException>("invalid_image"),
      Case<invalid_image_size, InvalidImageSizeException>("invalid_image_size"),
      Case<invalid_label, InvalidLabelException>("invalid_label"),
      Case<telvar::types::exception, InvalidOperationException>("exception"),
      Case<Unforeseen, InvalidOperationException>("a new type"),
      Case<FinerVersion, UnsupportedTrainingArtifactVersionException>("a finer version error"),
      Case<FinerRoi, InvalidROIException>("a finer invalid_roi"),
      Case<FinerImage, InvalidImageException>("a finer invalid_image"),
  };
}

/// What is no engine exception reaches the host as it is.
inline std::vector<FailureCase> ForeignFailures() {
  return {
      Case<std::runtime_error, std::runtime_error>("std::runtime_error"),
      Case<InvalidLabelException, InvalidLabelException>("the library's own"),
      {"std::bad_alloc",
       [](const std::string& call, const std::string&) { engine::fail(call, std::bad_alloc()); },
       [](const std::string&) { return An<std::bad_alloc>(std::bad_alloc().what()); }},
      {"no std::exception",
       [](const std::string& call, const std::string&) { engine::fail(call, 42); },
       [](const std::string&) { return std::string("no std::exception"); }},
  };
}

}  // namespace Orbalt::TelvarWrapper::Tests

#include "bridge/Guard.h"

#include "TelvarTypes/Exceptions.h"

namespace Orbalt::TelvarWrapper::Wrapper {
namespace {

template <class Engine>
bool Is(const telvar::types::exception& e) {
  return dynamic_cast<const Engine*>(&e) != nullptr;
}

template <class Library>
[[noreturn]] void Raise(const std::string& message) {
  throw Library(message);
}

}  // namespace

#define ROW(engine, library) \
  { #engine, #library, Is < telvar::types::engine>, Raise < library> }

// A failed read is a bad artifact, a failed write a bad operation: only what is read comes from the
// host.
const std::array<QvExceptionMapping, 14> kQvExceptionMappings = {{
    ROW(training_artifact_unsupported_version, UnsupportedTrainingArtifactVersionException),
    ROW(read_error, InvalidTrainingArtifactException),
    ROW(invalid_training_artifact, InvalidTrainingArtifactException),
    ROW(training_artifact_tool_type_error, InvalidTrainingArtifactException),
    ROW(write_error, InvalidOperationException),
    ROW(invalid_message, InvalidArgumentException),
    ROW(invalid_parameters, InvalidArgumentException),
    ROW(insufficient_number_of_samples, InvalidArgumentException),
    ROW(invalid_dataset, InvalidArgumentException),
    ROW(invalid_roi, InvalidROIException),
    ROW(unsupported_roi_for_image_type, InvalidROIException),
    ROW(invalid_image, InvalidImageException),
    ROW(invalid_image_size, InvalidImageSizeException),
    ROW(invalid_label, InvalidLabelException),
}};

#undef ROW

void MapQvExceptionAndThrow(const telvar::types::exception& e) {
  const std::string message(e.what());
  for (const QvExceptionMapping& mapping : kQvExceptionMappings) {
    if (mapping.matches(e)) mapping.raise(message);
  }
  throw InvalidOperationException(message);
}

}  // namespace Orbalt::TelvarWrapper::Wrapper

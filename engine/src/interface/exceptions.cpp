#include "telvar/exceptions.h"

namespace telvar::types {

exception::exception(const std::string& message)
    : message_(std::make_shared<const std::string>(message)) {}
exception::exception(const exception&) noexcept = default;
exception& exception::operator=(const exception&) noexcept = default;
exception::~exception() = default;

const char* exception::what() const noexcept {
  return message_->c_str();
}

// The destructors are the classes' key functions: their type information has one home, here.
training_artifact_unsupported_version::~training_artifact_unsupported_version() = default;
read_error::~read_error() = default;
invalid_training_artifact::~invalid_training_artifact() = default;
training_artifact_tool_type_error::~training_artifact_tool_type_error() = default;
write_error::~write_error() = default;
invalid_message::~invalid_message() = default;
invalid_parameters::~invalid_parameters() = default;
insufficient_number_of_samples::~insufficient_number_of_samples() = default;
invalid_dataset::~invalid_dataset() = default;
invalid_roi::~invalid_roi() = default;
unsupported_roi_for_image_type::~unsupported_roi_for_image_type() = default;
invalid_image::~invalid_image() = default;
invalid_image_size::~invalid_image_size() = default;
invalid_label::~invalid_label() = default;

}  // namespace telvar::types

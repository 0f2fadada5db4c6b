#pragma once

// Every failure that a telvar library reports. All classes derive from `exception`, which derives
// from std::exception; `what()` names the offending thing (file, value, limit).

#include <exception>
#include <memory>
#include <string>

#include "telvar/export.h"

namespace telvar::types {

/// Common base of the engine's failures. Immutable after construction; copies share the message
/// text, so that copying cannot fail.
class TELVAR_API exception : public std::exception {
 public:
  explicit exception(const std::string& message);
  exception(const exception&) noexcept;
  exception& operator=(const exception&) noexcept;
  ~exception() override;

  const char* what() const noexcept override;

 private:
  std::shared_ptr<const std::string> message_;
};

/// A training artifact written by a newer format version than this library reads.
class TELVAR_API training_artifact_unsupported_version : public exception {
 public:
  using exception::exception;
  ~training_artifact_unsupported_version() override;
};

/// A stream could not be read, or what it held is damaged.
class TELVAR_API read_error : public exception {
 public:
  using exception::exception;
  ~read_error() override;
};

/// A training artifact that is empty, damaged, truncated or otherwise not a valid artifact.
class TELVAR_API invalid_training_artifact : public exception {
 public:
  using exception::exception;
  ~invalid_training_artifact() override;
};

/// A training artifact that belongs to another tool.
class TELVAR_API training_artifact_tool_type_error : public exception {
 public:
  using exception::exception;
  ~training_artifact_tool_type_error() override;
};

/// A stream could not be written.
class TELVAR_API write_error : public exception {
 public:
  using exception::exception;
  ~write_error() override;
};

/// A serialised message that does not parse.
class TELVAR_API invalid_message : public exception {
 public:
  using exception::exception;
  ~invalid_message() override;
};

/// A parameter outside its stated limits.
class TELVAR_API invalid_parameters : public exception {
 public:
  using exception::exception;
  ~invalid_parameters() override;
};

/// Fewer labelled samples than training needs.
class TELVAR_API insufficient_number_of_samples : public exception {
 public:
  using exception::exception;
  ~insufficient_number_of_samples() override;
};

/// A data set that contradicts itself or its images.
class TELVAR_API invalid_dataset : public exception {
 public:
  using exception::exception;
  ~invalid_dataset() override;
};

/// A region that is not finite, singular, without extent (0 x 0 with the identity is the whole
/// image), too small for the tool, too large or wholly outside its image.
class TELVAR_API invalid_roi : public exception {
 public:
  using exception::exception;
  ~invalid_roi() override;
};

/// A region that cannot be applied to this type of image.
class TELVAR_API unsupported_roi_for_image_type : public exception {
 public:
  using exception::exception;
  ~unsupported_roi_for_image_type() override;
};

/// An image whose layout contradicts itself, or that has a size but no pixels.
class TELVAR_API invalid_image : public exception {
 public:
  using exception::exception;
  ~invalid_image() override;
};

/// An image that is empty, too small for the tool or beyond a stated limit.
class TELVAR_API invalid_image_size : public exception {
 public:
  using exception::exception;
  ~invalid_image_size() override;
};

/// A label outside its region, or without a usable category.
class TELVAR_API invalid_label : public exception {
 public:
  using exception::exception;
  ~invalid_label() override;
};

}  // namespace telvar::types

#pragma once

// How failures reach the host.
//
// Every engine failure inside a tool's work arrives as one of the classes below, with the engine's
// text, which names the offending thing. Fielding alone replaces that text: whatever fails in it is
// an InvalidArgumentException with one of two texts of the library's own (see ISmartOCRWrapper.h).
// Catch TelvarException for all of them. Exceptions of the standard library (std::bad_alloc,
// std::bad_function_call of an empty image loader) and those of a host's own image loader pass
// through unchanged, and so do the engine's own exceptions, derived from std::exception, out of
// GetData and SortCharacters.
//
// What is said below of images, regions, labels and artifacts is the embedded engine's.

#include <exception>
#include <string>

#include "TelvarTypes/Export.h"

namespace Orbalt::TelvarWrapper {

/// Common base. Immutable after construction; `what()` is the message it was made from.
class TELVAR_TYPES_API TelvarException : public std::exception {
 public:
  explicit TelvarException(const std::string& message);
  TelvarException(const TelvarException&);
  TelvarException& operator=(const TelvarException&);
  ~TelvarException() override;

  const char* what() const noexcept override;

 private:
  std::string message_;
};

/// A malformed message, parameters out of range, too few samples, a data set that is too large or
/// contradicts itself or its images, and whatever fails in fielding.
class TELVAR_TYPES_API InvalidArgumentException : public TelvarException {
 public:
  explicit InvalidArgumentException(const std::string& message);
  InvalidArgumentException(const InvalidArgumentException&);
  InvalidArgumentException& operator=(const InvalidArgumentException&);
  ~InvalidArgumentException() override;
};

/// An image whose layout contradicts itself; in Process also one with a size but without pixels.
class TELVAR_TYPES_API InvalidImageException : public TelvarException {
 public:
  explicit InvalidImageException(const std::string& message);
  InvalidImageException(const InvalidImageException&);
  InvalidImageException& operator=(const InvalidImageException&);
  ~InvalidImageException() override;
};

/// An image that is empty, too small for the tool, or beyond the engine's limits; from an image
/// loader also one without pixels, whatever its layout. In the character reader also a region that
/// holds too many characters of the nominal size.
class TELVAR_TYPES_API InvalidImageSizeException : public TelvarException {
 public:
  explicit InvalidImageSizeException(const std::string& message);
  InvalidImageSizeException(const InvalidImageSizeException&);
  InvalidImageSizeException& operator=(const InvalidImageSizeException&);
  ~InvalidImageSizeException() override;
};

/// A label outside its region, or without a usable category.
class TELVAR_TYPES_API InvalidLabelException : public TelvarException {
 public:
  explicit InvalidLabelException(const std::string& message);
  InvalidLabelException(const InvalidLabelException&);
  InvalidLabelException& operator=(const InvalidLabelException&);
  ~InvalidLabelException() override;
};

/// A failed write, and every engine failure that has no class of its own, such as a result too
/// large for a message.
class TELVAR_TYPES_API InvalidOperationException : public TelvarException {
 public:
  explicit InvalidOperationException(const std::string& message);
  InvalidOperationException(const InvalidOperationException&);
  InvalidOperationException& operator=(const InvalidOperationException&);
  ~InvalidOperationException() override;
};

/// A region that is not finite, singular, without extent (but see ROI), too small for the tool, too
/// large or wholly outside its image, or that cannot be applied to this type of image.
class TELVAR_TYPES_API InvalidROIException : public TelvarException {
 public:
  explicit InvalidROIException(const std::string& message);
  InvalidROIException(const InvalidROIException&);
  InvalidROIException& operator=(const InvalidROIException&);
  ~InvalidROIException() override;
};

/// A trained artifact that is empty where one is needed, cannot be read, is damaged, or belongs to
/// another tool.
class TELVAR_TYPES_API InvalidTrainingArtifactException : public TelvarException {
 public:
  explicit InvalidTrainingArtifactException(const std::string& message);
  InvalidTrainingArtifactException(const InvalidTrainingArtifactException&);
  InvalidTrainingArtifactException& operator=(const InvalidTrainingArtifactException&);
  ~InvalidTrainingArtifactException() override;
};

/// A trained artifact of a version that the engine does not support.
class TELVAR_TYPES_API UnsupportedTrainingArtifactVersionException : public TelvarException {
 public:
  explicit UnsupportedTrainingArtifactVersionException(const std::string& message);
  UnsupportedTrainingArtifactVersionException(const UnsupportedTrainingArtifactVersionException&);
  UnsupportedTrainingArtifactVersionException& operator=(
      const UnsupportedTrainingArtifactVersionException&);
  ~UnsupportedTrainingArtifactVersionException() override;
};

}  // namespace Orbalt::TelvarWrapper

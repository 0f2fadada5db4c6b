#include "TelvarTypes/Exceptions.h"

namespace Orbalt::TelvarWrapper {

TelvarException::TelvarException(const std::string& message) : message_(message) {}
TelvarException::TelvarException(const TelvarException&) = default;
TelvarException& TelvarException::operator=(const TelvarException&) = default;
TelvarException::~TelvarException() = default;

const char* TelvarException::what() const noexcept {
  return message_.c_str();
}

// The destructors are the classes' key functions: type information has its one home here.
#define TELVAR_TYPES_DEFINE_EXCEPTION(Exception)                                 \
  Exception::Exception(const std::string& message) : TelvarException(message) {} \
  Exception::Exception(const Exception&) = default;                              \
  Exception& Exception::operator=(const Exception&) = default;                   \
  Exception::~Exception() = default

TELVAR_TYPES_DEFINE_EXCEPTION(InvalidArgumentException);
TELVAR_TYPES_DEFINE_EXCEPTION(InvalidImageException);
TELVAR_TYPES_DEFINE_EXCEPTION(InvalidImageSizeException);
TELVAR_TYPES_DEFINE_EXCEPTION(InvalidLabelException);
TELVAR_TYPES_DEFINE_EXCEPTION(InvalidOperationException);
TELVAR_TYPES_DEFINE_EXCEPTION(InvalidROIException);
TELVAR_TYPES_DEFINE_EXCEPTION(InvalidTrainingArtifactException);
TELVAR_TYPES_DEFINE_EXCEPTION(UnsupportedTrainingArtifactVersionException);

#undef TELVAR_TYPES_DEFINE_EXCEPTION

}  // namespace Orbalt::TelvarWrapper

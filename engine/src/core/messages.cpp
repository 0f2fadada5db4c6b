#include "core/messages.h"

namespace telvar::core {

std::string serialised(const google::protobuf::MessageLite& message, const char* subject,
                       std::uint64_t limit) {
  // Beyond its limit the library would write to the standard error stream and return nothing.
  const std::uint64_t size = message.ByteSizeLong();
  if (size > limit) {
    throw types::exception(std::string(subject) + ": a message of " + std::to_string(size) +
                           " bytes, the limit is " + std::to_string(limit));
  }
  return message.SerializeAsString();
}

}  // namespace telvar::core

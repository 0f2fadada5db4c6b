#pragma once

#include <google/protobuf/message_lite.h>

#include <string>

namespace Orbalt::TelvarWrapper::Wrapper {

/// Parses an engine's answer into `message`. An answer that does not parse is not an error: the
/// message then holds what could be read.
inline void ParseAnswer(const std::string& answer, google::protobuf::MessageLite& message) {
  static_cast<void>(message.ParseFromString(answer));
}

}  // namespace Orbalt::TelvarWrapper::Wrapper

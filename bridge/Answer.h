#pragma once

#include <string>

#include "bridge/ArenaMessage.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// An engine's answer as a message. An answer that does not parse is not an error: the message then
/// holds what could be read.
template <class Message>
class Answer : public ArenaMessage<Message> {
 public:
  explicit Answer(const std::string& bytes) { static_cast<void>((**this).ParseFromString(bytes)); }
};

}  // namespace Orbalt::TelvarWrapper::Wrapper

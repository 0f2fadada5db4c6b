#pragma once

#include <string>

#include "telvar_msg/arena_message.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// An engine's answer as a message. An answer that does not parse is not an error: the message then
/// holds what could be read.
template <class Message>
class Answer : public telvar_msg::ArenaMessage<Message> {
 public:
  explicit Answer(const std::string& bytes) { static_cast<void>((**this).ParseFromString(bytes)); }
};

}  // namespace Orbalt::TelvarWrapper::Wrapper

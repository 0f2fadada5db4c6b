#pragma once

// Engine messages to bytes and back.

#include <string>

#include "telvar_msg/arena_message.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// The bytes of a message that `fill` fills, which gets it by reference.
template <class Message, class Fill>
std::string SerializeFilled(Fill fill) {
  telvar_msg::ArenaMessage<Message> message;
  fill(*message);
  return message->SerializeAsString();
}

/// An engine's answer as a message. An answer that does not parse is not an error: the message then
/// holds what could be read.
template <class Message>
class Answer : public telvar_msg::ArenaMessage<Message> {
 public:
  explicit Answer(const std::string& bytes) { static_cast<void>((**this).ParseFromString(bytes)); }
};

}  // namespace Orbalt::TelvarWrapper::Wrapper

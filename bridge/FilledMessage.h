#pragma once

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

}  // namespace Orbalt::TelvarWrapper::Wrapper

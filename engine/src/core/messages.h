#pragma once

// The messages that the engine is asked with and answers with.

#include <google/protobuf/message_lite.h>

#include <cstdint>
#include <string>

#include "telvar/exceptions.h"
#include "telvar_msg/arena_message.h"

namespace telvar::core {

using telvar_msg::ArenaMessage;

/// A message out of its bytes. Throws invalid_message, with a text that names `what` they should
/// be, when they do not parse.
template <class Message>
class ParsedMessage : public ArenaMessage<Message> {
 public:
  ParsedMessage(const std::string& bytes, const char* what) {
    if (!(**this).ParseFromString(bytes)) {
      throw types::invalid_message(std::string(what) + ": " + std::to_string(bytes.size()) +
                                   " bytes that are no such message");
    }
  }
};

/// The largest message that has a serialised form, in bytes.
constexpr std::uint64_t kMaxMessageBytes = 0x7FFFFFFF;

/// The bytes of a message. Throws types::exception, with a text that starts with `subject` and
/// names size and limit, when it takes more than `limit` bytes.
std::string serialised(const google::protobuf::MessageLite& message, const char* subject,
                       std::uint64_t limit = kMaxMessageBytes);

}  // namespace telvar::core

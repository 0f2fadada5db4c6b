#pragma once

// The messages that the engine is asked with and answers with.

#include <google/protobuf/arena.h>

#include <cstdint>
#include <string>

#include "telvar/exceptions.h"

namespace telvar::core {

/// A message on an arena of its own, where nothing is destroyed one by one: in Protocol Buffers
/// 3.21 a map is left damaged when memory runs out while it grows, and destroying it would crash.
template <class Message>
class ArenaMessage {
 public:
  ArenaMessage() : message_(*google::protobuf::Arena::CreateMessage<Message>(&arena_)) {}

  Message& operator*() { return message_; }
  const Message& operator*() const { return message_; }
  Message* operator->() { return &message_; }
  const Message* operator->() const { return &message_; }

 private:
  google::protobuf::Arena arena_;
  Message& message_;
};

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

#pragma once

#include <google/protobuf/arena.h>

#include <string>

namespace Orbalt::TelvarWrapper::Wrapper {

/// An engine's answer as a message. An answer that does not parse is not an error: the message then
/// holds what could be read.
///
/// The message lives on an arena: thousands of small messages take half the time there, and what
/// was parsed is not lost when memory runs out midway, as it is on the heap.
template <class Message>
class Answer {
 public:
  explicit Answer(const std::string& bytes)
      : message_(*google::protobuf::Arena::CreateMessage<Message>(&arena_)) {
    static_cast<void>(message_.ParseFromString(bytes));
  }

  const Message& operator*() const { return message_; }
  const Message* operator->() const { return &message_; }

 private:
  google::protobuf::Arena arena_;
  Message& message_;
};

}  // namespace Orbalt::TelvarWrapper::Wrapper

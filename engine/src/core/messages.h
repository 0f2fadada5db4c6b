#pragma once

// The messages that the engine answers with.

#include <cstdint>
#include <string>

namespace google::protobuf {
class MessageLite;
}

namespace telvar::core {

/// The largest message that has a serialised form, in bytes.
constexpr std::uint64_t kMaxMessageBytes = 0x7FFFFFFF;

/// The bytes of a message. Throws types::exception, with a text that starts with `subject` and
/// names size and limit, when it takes more than `limit` bytes.
std::string serialised(const google::protobuf::MessageLite& message, const char* subject,
                       std::uint64_t limit = kMaxMessageBytes);

}  // namespace telvar::core

#pragma once

// How a fuzz target takes its bytes apart, and how it reports that an expectation failed.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace telvar::fuzz {

/// Ends the run when `holds` is false: the fuzzer keeps the input as a finding.
inline void require(bool holds, const char* expectation) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: not so: %s\n", expectation);
  std::abort();
}

/// Reads from the front; what is missing reads as zero.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : bytes_(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return position_ == bytes_.size(); }

  /// Little endian.
  template <typename Unsigned>
  Unsigned number() {
    Unsigned value = 0;
    for (std::size_t i = 0; i < sizeof value && !empty(); ++i) {
      value |= static_cast<Unsigned>(static_cast<unsigned char>(bytes_[position_++])) << 8 * i;
    }
    return value;
  }

  std::string bytes(std::size_t count) {
    const std::string taken = bytes_.substr(position_, count);
    position_ += taken.size();
    return taken;
  }

  std::string rest() { return bytes(bytes_.size() - position_); }

 private:
  std::string bytes_;
  std::size_t position_ = 0;
};

}  // namespace telvar::fuzz

#pragma once

// Little-endian bytes in and out, for the formats that the engine keeps.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace telvar::core {

/// What a ByteReader reports; artifact and cache readers turn it into the interface's exceptions.
class malformed_bytes : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ByteWriter {
 public:
  void u8(std::uint8_t value) { integer(value, 1); }
  void u16(std::uint16_t value) { integer(value, 2); }
  void u32(std::uint32_t value) { integer(value, 4); }
  void u64(std::uint64_t value) { integer(value, 8); }
  void i32(std::int32_t value) { integer(static_cast<std::uint32_t>(value), 4); }
  /// IEEE 754 single and double.
  void f32(float value);
  /// A u32 length, then the bytes.
  void text(std::string_view value);
  /// A u64 length, then the bytes.
  void blob(std::string_view value);
  /// The bytes alone.
  void raw(const void* data, std::size_t size);
  /// The values alone.
  void floats(const float* values, std::size_t count);

  const std::string& bytes() const { return bytes_; }
  std::string take() { return std::move(bytes_); }

 private:
  void integer(std::uint64_t value, int size);
  std::string bytes_;
};

/// Reads what ByteWriter wrote; the bytes must outlive it. Every function throws malformed_bytes,
/// naming `what` and the limit, before anything is allocated.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : bytes_(bytes) {}

  std::uint8_t u8(const char* what) { return static_cast<std::uint8_t>(integer(1, what)); }
  std::uint16_t u16(const char* what) { return static_cast<std::uint16_t>(integer(2, what)); }
  std::uint32_t u32(const char* what) { return static_cast<std::uint32_t>(integer(4, what)); }
  std::uint64_t u64(const char* what) { return integer(8, what); }
  std::int32_t i32(const char* what) { return static_cast<std::int32_t>(integer(4, what)); }
  /// Finite numbers only.
  float f32(const char* what);
  /// A u32 that must lie in low..high.
  std::uint32_t count(const char* what, std::uint32_t low, std::uint32_t high);
  std::string_view text(const char* what, std::uint32_t max_size);
  std::string_view blob(const char* what);
  std::string_view raw(const char* what, std::uint64_t size);
  /// `count` finite values.
  std::vector<float> floats(const char* what, std::uint64_t count);
  void floats(const char* what, float* out, std::uint64_t count);

  std::size_t remaining() const { return bytes_.size(); }
  /// Throws when bytes are left.
  void finish(const char* what) const;

 private:
  std::uint64_t integer(int size, const char* what);
  std::string_view bytes_;
};

/// 64-bit XXH3 of some bytes (xxHash).
std::uint64_t checksum(std::string_view bytes);

}  // namespace telvar::core

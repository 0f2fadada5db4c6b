#include "core/bytes.h"

#include <cmath>
#include <cstring>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace telvar::core {
namespace {

template <class Bits, class Value>
Bits bits_of(Value value) {
  static_assert(sizeof(Bits) == sizeof(Value));
  Bits bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

[[noreturn]] void fail(const std::string& text) {
  throw malformed_bytes(text);
}

template <class Value>
Value finite(Value value, const char* what) {
  if (!std::isfinite(value)) fail(std::string(what) + ": a value is not finite");
  return value;
}

}  // namespace

void ByteWriter::integer(std::uint64_t value, int size) {
  for (int i = 0; i < size; ++i) bytes_.push_back(static_cast<char>(value >> (8 * i)));
}

void ByteWriter::f32(float value) {
  u32(bits_of<std::uint32_t>(value));
}

void ByteWriter::text(std::string_view value) {
  u32(static_cast<std::uint32_t>(value.size()));
  bytes_.append(value);
}

void ByteWriter::blob(std::string_view value) {
  u64(value.size());
  bytes_.append(value);
}

void ByteWriter::raw(const void* data, std::size_t size) {
  bytes_.append(static_cast<const char*>(data), size);
}

void ByteWriter::floats(const float* values, std::size_t count) {
  bytes_.reserve(bytes_.size() + 4 * count);
  for (std::size_t i = 0; i < count; ++i) f32(values[i]);
}

std::string_view ByteReader::raw(const char* what, std::uint64_t size) {
  if (size > bytes_.size()) {
    fail(std::string(what) + ": " + std::to_string(size) + " bytes wanted, " +
         std::to_string(bytes_.size()) + " left");
  }
  const std::string_view taken = bytes_.substr(0, size);
  bytes_.remove_prefix(size);
  return taken;
}

std::uint64_t ByteReader::integer(int size, const char* what) {
  const std::string_view taken = raw(what, size);
  std::uint64_t value = 0;
  for (int i = 0; i < size; ++i) {
    value |= static_cast<std::uint64_t>(static_cast<unsigned char>(taken[i])) << (8 * i);
  }
  return value;
}

float ByteReader::f32(const char* what) {
  return finite(bits_of<float>(u32(what)), what);
}

std::uint32_t ByteReader::count(const char* what, std::uint32_t low, std::uint32_t high) {
  const std::uint32_t value = u32(what);
  if (value < low || value > high) {
    fail(std::string(what) + ": " + std::to_string(value) + " is outside " + std::to_string(low) +
         ".." + std::to_string(high));
  }
  return value;
}

std::string_view ByteReader::text(const char* what, std::uint32_t max_size) {
  return raw(what, count(what, 0, max_size));
}

std::string_view ByteReader::blob(const char* what) {
  return raw(what, u64(what));
}

void ByteReader::floats(const char* what, float* out, std::uint64_t count) {
  if (count > bytes_.size() / 4) {
    fail(std::string(what) + ": " + std::to_string(count) + " values wanted, " +
         std::to_string(bytes_.size()) + " bytes left");
  }
  for (std::uint64_t i = 0; i < count; ++i) out[i] = f32(what);
}

std::vector<float> ByteReader::floats(const char* what, std::uint64_t count) {
  std::vector<float> values(count <= bytes_.size() / 4 ? count : 0);
  floats(what, values.data(), count);
  return values;
}

void ByteReader::finish(const char* what) const {
  if (!bytes_.empty()) {
    fail(std::string(what) + ": " + std::to_string(bytes_.size()) + " bytes too many");
  }
}

std::uint64_t checksum(std::string_view bytes) {
  return XXH3_64bits(bytes.data(), bytes.size());
}

}  // namespace telvar::core

#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace telvar::nn {

/// Memory that starts at a multiple of 64 bytes, as the kernels want it. Not initialised.
class Buffer {
 public:
  static constexpr std::size_t kAlignment = 64;

  Buffer() = default;
  explicit Buffer(std::size_t bytes)
      : bytes_(bytes),
        memory_(static_cast<std::byte*>(::operator new (bytes, std::align_val_t{kAlignment}))) {}

  std::size_t bytes() const { return bytes_; }
  std::byte* data() const { return memory_.get(); }
  float* floats() const { return reinterpret_cast<float*>(memory_.get()); }
  void clear() { std::memset(memory_.get(), 0, bytes_); }

 private:
  struct Free {
    void operator()(std::byte* memory) const {
      ::operator delete (memory, std::align_val_t{kAlignment});
    }
  };
  std::size_t bytes_ = 0;
  std::unique_ptr<std::byte, Free> memory_;
};

/// The next multiple of Buffer::kAlignment.
constexpr std::size_t aligned(std::size_t bytes) {
  return (bytes + Buffer::kAlignment - 1) / Buffer::kAlignment * Buffer::kAlignment;
}

}  // namespace telvar::nn

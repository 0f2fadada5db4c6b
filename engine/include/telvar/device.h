#pragma once

#include "telvar/export.h"

namespace telvar::types {

/// Where a model runs.
class TELVAR_API Device {
 public:
  virtual ~Device();

 protected:
  Device() = default;
  Device(const Device&) = default;
  Device& operator=(const Device&) = default;
};

/// The processor. What is built on it works on `threads` threads at most (1024 in any case), the
/// calling one among them; each further caller at the same time adds its own. 0 means every core
/// that this process may use, by affinity and quota. No result depends on the number.
class TELVAR_API CpuDevice final : public Device {
 public:
  explicit CpuDevice(unsigned threads = 0);
  ~CpuDevice() override;

  unsigned threads() const { return threads_; }

 private:
  unsigned threads_;
};

}  // namespace telvar::types

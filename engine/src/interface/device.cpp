#include "telvar/device.h"

namespace telvar::types {

Device::~Device() = default;

CpuDevice::CpuDevice(unsigned threads) : threads_(threads) {}
CpuDevice::~CpuDevice() = default;

}  // namespace telvar::types

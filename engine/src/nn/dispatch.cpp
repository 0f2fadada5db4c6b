#include <hwy/highway.h>

#include "nn/dispatch.h"

#include <atomic>

#if HWY_ARCH_X86 && defined(__GNUC__)
#include <cpuid.h>
#endif

namespace telvar::nn {
namespace {

#if HWY_ARCH_X86 && defined(__GNUC__)
/// Whether half precision numbers are converted by an instruction. clang 14 has no name for that in
/// __builtin_cpu_supports.
bool has_f16c() {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_F16C) != 0;
}
#endif

std::int64_t found_targets() {
  std::int64_t targets = 0;
#if HWY_ARCH_X86 && defined(__GNUC__)
  // What Highway's targets are made of. The operating system's part is in these answers too.
  if (__builtin_cpu_supports("ssse3")) targets |= HWY_SSSE3;
  if (__builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("pclmul") &&
      __builtin_cpu_supports("aes")) {
    targets |= HWY_SSE4;
  }
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
      __builtin_cpu_supports("bmi2") && has_f16c()) {
    targets |= HWY_AVX2;
  }
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512cd")) {
    targets |= HWY_AVX3;
  }
#endif
  return targets;
}

std::atomic<std::int64_t>& limit() {
  static std::atomic<std::int64_t> targets{-1};
  return targets;
}

}  // namespace

std::int64_t supported_targets() {
  static const std::int64_t targets = found_targets();
  return targets & limit();
}

void limit_targets_for_test(std::int64_t targets) {
  limit() = targets;
}

}  // namespace telvar::nn

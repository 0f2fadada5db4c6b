#pragma once

// How a thread computes with floating-point numbers is the host's to choose; what is computed here
// must not depend on it.

#include <cfenv>

#if defined(__SSE2__) || defined(_M_X64)
#define TELVAR_HAS_SSE
#include <xmmintrin.h>
#endif

namespace telvar::numeric {

/// While it lives, the calling thread computes in the default way: rounded to nearest, long double
/// in full precision, no exception traps; numbers too small to be normal count as zero, where the
/// processor can. Gives the host's way back, and with it the host's exception flags.
class DefaultMode {
 public:
  DefaultMode() noexcept {
    std::fegetenv(&host_);
#if defined(TELVAR_HAS_SSE)
    host_control_ = _mm_getcsr();
#endif
    std::fesetenv(FE_DFL_ENV);
#if defined(TELVAR_HAS_SSE)
    // All of it: not every C library's default environment reaches this register.
    constexpr unsigned kMasked = 0x1f80, kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040;
    _mm_setcsr(kMasked | kFlushToZero | kDenormalsAreZero);
#endif
  }
  DefaultMode(const DefaultMode&) = delete;
  DefaultMode& operator=(const DefaultMode&) = delete;
  ~DefaultMode() {
    std::fesetenv(&host_);
#if defined(TELVAR_HAS_SSE)
    _mm_setcsr(host_control_);
#endif
  }

 private:
  std::fenv_t host_;
#if defined(TELVAR_HAS_SSE)
  unsigned host_control_;  // MXCSR
#endif
};

}  // namespace telvar::numeric

#undef TELVAR_HAS_SSE

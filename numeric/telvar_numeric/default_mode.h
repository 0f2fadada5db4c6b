#pragma once

// How a thread computes with floating-point numbers is the host's to choose; what is computed here
// must not depend on it.

#include <cfenv>

#if defined(__SSE2__)
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
    std::fesetenv(FE_DFL_ENV);
#if defined(__SSE2__)
    constexpr unsigned kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040;
    _mm_setcsr(_mm_getcsr() | kFlushToZero | kDenormalsAreZero);
#endif
  }
  DefaultMode(const DefaultMode&) = delete;
  DefaultMode& operator=(const DefaultMode&) = delete;
  ~DefaultMode() {
    std::fesetenv(&host_);
  }

 private:
  std::fenv_t host_;
};

}  // namespace telvar::numeric

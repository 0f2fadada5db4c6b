#pragma once

// How a thread computes with floating-point numbers is the host's to choose; what is computed here
// must not depend on it.

#include <cfenv>

#if defined(__SSE2__) || defined(_M_X64)
#define TELVAR_HAS_SSE
#include <xmmintrin.h>
#endif

namespace telvar::numeric {

/// How a thread computes: rounding, precision, traps, numbers too small to be normal; and the
/// exception flags.
class Mode {
 public:
  /// That of the calling thread.
  Mode() noexcept {
    std::fegetenv(&environment_);
#if defined(TELVAR_HAS_SSE)
    control_ = _mm_getcsr();
#endif
  }

  /// From now on the calling thread computes so.
  void set() const noexcept {
    std::fesetenv(&environment_);
#if defined(TELVAR_HAS_SSE)
    _mm_setcsr(control_);
#endif
  }

  /// From now on the calling thread computes in the default way: rounded to nearest, long double in
  /// full precision, no exception traps; numbers too small to be normal count as zero, where the
  /// processor can.
  static void set_default() noexcept {
    std::fesetenv(FE_DFL_ENV);
#if defined(TELVAR_HAS_SSE)
    // All of it: not every C library's default environment reaches this register.
    constexpr unsigned kMasked = 0x1f80, kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040;
    _mm_setcsr(kMasked | kFlushToZero | kDenormalsAreZero);
#endif
  }

 private:
  std::fenv_t environment_;
#if defined(TELVAR_HAS_SSE)
  unsigned control_;  // MXCSR
#endif
};

/// While it lives, the calling thread computes in the default way. Gives the host's way back, and
/// with it the host's exception flags.
class DefaultMode {
 public:
  DefaultMode() noexcept { Mode::set_default(); }
  DefaultMode(const DefaultMode&) = delete;
  DefaultMode& operator=(const DefaultMode&) = delete;
  ~DefaultMode() { host_.set(); }

 private:
  Mode host_;
};

}  // namespace telvar::numeric

#undef TELVAR_HAS_SSE

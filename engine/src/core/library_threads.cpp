#include "core/library_threads.h"

#if defined(TELVAR_ONEDNN)
#include <omp.h>
#endif
#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace telvar::core {
namespace {

#if defined(__SSE2__)
/// All exceptions masked, rounding to nearest, denormal numbers count as zero in and out.
constexpr unsigned kOurControl = 0x1F80 | 0x8040;

unsigned set_control(unsigned control) {
  const unsigned before = _mm_getcsr();
  _mm_setcsr(control);
  return before;
}
#else
constexpr unsigned kOurControl = 0;

unsigned set_control(unsigned) {
  return 0;
}
#endif

#if defined(TELVAR_ONEDNN)
int set_threads(int threads) {
  const int before = omp_get_max_threads();
  omp_set_num_threads(threads);
  return before;
}
#else
int set_threads(int threads) {
  return threads;
}
#endif

}  // namespace

LibraryThreadScope::LibraryThreadScope()
    : threads_(set_threads(1)), control_(set_control(kOurControl)) {}

LibraryThreadScope::~LibraryThreadScope() {
  set_control(control_);
  set_threads(threads_);
}

}  // namespace telvar::core

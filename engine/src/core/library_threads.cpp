#include "core/library_threads.h"

#if defined(TELVAR_ONEDNN)
#include <omp.h>

#include <cstdlib>
#include <new>
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
/// OpenMP's library keeps a record of each thread, and ends the process where it gets no memory
/// for it.
void check_memory_for_openmp() {
  constexpr std::size_t kMoreThanARecord = 4096;
  void* volatile block = std::malloc(kMoreThanARecord);  // volatile, or it would be left out
  if (block == nullptr) throw std::bad_alloc();
  std::free(block);
}
int set_threads(int threads) {
  const int before = omp_get_max_threads();
  omp_set_num_threads(threads);
  return before;
}
#else
void check_memory_for_openmp() {}
int set_threads(int threads) {
  return threads;
}
#endif

}  // namespace

LibraryThreadScope::LibraryThreadScope()
    : threads_((check_memory_for_openmp(), set_threads(1))), control_(set_control(kOurControl)) {}

LibraryThreadScope::~LibraryThreadScope() {
  set_control(control_);
  set_threads(threads_);
}

}  // namespace telvar::core

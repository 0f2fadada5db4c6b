#include "core/library_threads.h"

#include <ATen/Parallel.h>
#include <omp.h>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace telvar::core {
namespace {

#if defined(__SSE2__)
constexpr unsigned kDenormalsAreZero = 0x8040;  // flush to zero, denormals are zero

unsigned flush_denormals() {
  const unsigned control = _mm_getcsr();
  _mm_setcsr(control | kDenormalsAreZero);
  return control;
}

void restore_denormals(unsigned control) {
  _mm_setcsr((_mm_getcsr() & ~kDenormalsAreZero) | (control & kDenormalsAreZero));
}
#else
unsigned flush_denormals() {
  return 0;
}
void restore_denormals(unsigned) {}
#endif

}  // namespace

LibraryThreadScope::LibraryThreadScope() {
  threads_ = omp_get_max_threads();
  // The first question on a thread makes the tensor library set its own default there, which would
  // otherwise undo ours later.
  at::get_num_threads();
  omp_set_num_threads(1);
  control_ = flush_denormals();
}

LibraryThreadScope::~LibraryThreadScope() {
  restore_denormals(control_);
  omp_set_num_threads(threads_);
}

}  // namespace telvar::core

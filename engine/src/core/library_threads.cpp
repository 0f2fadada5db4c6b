#include "core/library_threads.h"

#if defined(TELVAR_ONEDNN)
#include <cstdlib>
#include <new>

#include "core/openmp.h"
#endif

namespace telvar::core {
namespace {

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

LibraryThreadScope::LibraryThreadScope() {
  check_memory_for_openmp();
  enter();
}

void LibraryThreadScope::enter() noexcept {
  threads_ = set_threads(1);
  mode_.emplace();
}

void LibraryThreadScope::leave() noexcept {
  mode_.reset();
  set_threads(threads_);
}

}  // namespace telvar::core

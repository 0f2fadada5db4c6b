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
  constexpr std::size_t kMoreThanARecord = 4096;         // bytes
  void* volatile block = std::malloc(kMoreThanARecord);  // volatile, or it would be left out
  if (block == nullptr) throw std::bad_alloc();
  std::free(block);
}
int openmp_threads() {
  return omp_get_max_threads();
}
void set_openmp_threads(int threads) {
  omp_set_num_threads(threads);
}
#else
void check_memory_for_openmp() {}
int openmp_threads() {
  return 1;
}
void set_openmp_threads(int) {}
#endif

ThreadSettings settings_within_memory() {
  check_memory_for_openmp();
  return {};
}

void set_for_library() {
  set_openmp_threads(1);
  numeric::Mode::set_default();
}

}  // namespace

ThreadSettings::ThreadSettings() noexcept : openmp_threads_(openmp_threads()) {}

void ThreadSettings::set() const noexcept {
  mode_.set();
  set_openmp_threads(openmp_threads_);
}

LibraryThreadScope::LibraryThreadScope() : host_(settings_within_memory()) {
  set_for_library();
}

void LibraryThreadScope::enter() noexcept {
  host_ = ThreadSettings();
  set_for_library();
}

}  // namespace telvar::core

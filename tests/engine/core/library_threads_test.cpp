#include "core/library_threads.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <stdexcept>

#if defined(TELVAR_ONEDNN)
#include <dlfcn.h>
#endif

namespace telvar::core {
namespace {

#if defined(TELVAR_ONEDNN)
/// A function of the OpenMP library that oneDNN is linked with, whichever one this program is.
template <class Function>
Function* of_onednns_openmp(const char* name) {
  void* library = dlopen("libgomp.so.1", RTLD_NOW);
  return library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, name));
}

TEST(LibraryThreadScope, KeepsOneDnnOnTheCallingThread) {
  const auto set = of_onednns_openmp<void(int)>("omp_set_num_threads");
  const auto get = of_onednns_openmp<int()>("omp_get_max_threads");
  ASSERT_TRUE(set != nullptr && get != nullptr);
  set(3);
  {
    LibraryThreadScope scope;
    EXPECT_EQ(get(), 1);
    const std::function<int(int)> host = [&](int more) { return get() + more; };
    EXPECT_EQ(scope.in_host_mode(host)(10), 13);
    EXPECT_EQ(get(), 1);
  }
  EXPECT_EQ(get(), 3);
}
#endif

TEST(LibraryThreadScope, GivesTheModeBackToCallbacksAndAtItsEnd) {
  std::fesetround(FE_UPWARD);
  {
    LibraryThreadScope scope;
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    const std::function<void(int)> host = [](int changed) {
      EXPECT_EQ(std::fegetround(), FE_UPWARD);
      std::fesetround(changed);
      throw std::runtime_error("of the host");
    };
    EXPECT_THROW(scope.in_host_mode(host)(FE_DOWNWARD), std::runtime_error);
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
  }
  EXPECT_EQ(std::fegetround(), FE_DOWNWARD);
  std::fesetround(FE_TONEAREST);
}

}  // namespace
}  // namespace telvar::core

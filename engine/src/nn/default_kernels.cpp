#include "nn/kernels.h"

namespace telvar::nn {

#if !defined(TELVAR_ONEDNN)
const KernelSet* onednn_kernels() {
  return nullptr;
}
#endif

const KernelSet& default_kernels() {
  const KernelSet* const fastest = onednn_kernels();
  return fastest != nullptr ? *fastest : portable_kernels();
}

}  // namespace telvar::nn

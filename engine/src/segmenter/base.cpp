#include "segmenter/base.h"

#include <string>

#include "segmenter/state.h"

// engine/base/segmenter/base.segmenter, put into the library by core/embedded_bytes.S.
extern "C" {
extern const char telvar_segmenter_base_begin[];
extern const char telvar_segmenter_base_end[];
}

namespace telvar::segmenter {

nn::Network built_in_base() {
  const auto size =
      static_cast<std::size_t>(telvar_segmenter_base_end - telvar_segmenter_base_begin);
  return read_state(std::string(telvar_segmenter_base_begin, size)).net;
}

}  // namespace telvar::segmenter

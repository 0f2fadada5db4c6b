#include "ocr/base.h"

#include <string>

// engine/base/base.reader, put into the library by base_bytes.S.
extern "C" {
extern const char telvar_base_begin[];
extern const char telvar_base_end[];
}

namespace telvar::ocr {

ReaderState built_in_base() {
  return read_state(std::string(telvar_base_begin,
                                static_cast<std::size_t>(telvar_base_end - telvar_base_begin)));
}

}  // namespace telvar::ocr

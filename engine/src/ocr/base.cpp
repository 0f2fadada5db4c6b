#include "ocr/base.h"

#include <string>

// engine/base/reader/base.reader, put into the library by core/embedded_bytes.S.
extern "C" {
extern const char telvar_reader_base_begin[];
extern const char telvar_reader_base_end[];
}

namespace telvar::ocr {

ReaderState built_in_base() {
  const auto size = static_cast<std::size_t>(telvar_reader_base_end - telvar_reader_base_begin);
  return read_state(std::string(telvar_reader_base_begin, size));
}

}  // namespace telvar::ocr

#include <sys/resource.h>

#include "labelled_images.h"
#include "methods.h"

namespace bench {

double cpu_seconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         1e-6 * double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

SplitImages open_set(const std::string& name) {
  if (name == "parts") return draw_parts(400, 100);
  if (name == "textures") return draw_textures(400, 100);
  return read_idx_folder(name);
}

}  // namespace bench

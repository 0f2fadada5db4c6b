#include "labelled_images.h"

namespace bench {

SplitImages open_set(const std::string& name) {
  if (name == "parts") return draw_parts(400, 100);
  if (name == "textures") return draw_textures(400, 100);
  return read_idx_folder(name);
}

}  // namespace bench

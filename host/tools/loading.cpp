#include "tools/loading.h"

#include "app/errors.h"
#include "images/read_image.h"
#include "library/records.h"

namespace telvar_host {

std::shared_ptr<Types::Image> FileLoader::load(const std::string& id) const {
  const auto file = files_.find(id);
  if (file == files_.end()) throw failure("the library asked for an unknown image '" + id + "'");
  auto image = to_image(read_picture(file->second));
  progress_.step();
  return image;
}

}  // namespace telvar_host

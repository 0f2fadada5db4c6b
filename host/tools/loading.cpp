#include "tools/loading.h"

#include "app/errors.h"
#include "images/read_image.h"
#include "library/records.h"

namespace telvar_host {

void FileLoader::add(const std::string& id, const std::filesystem::path& file) {
  if (!files_.emplace(id, file).second) throw data_error(id + ": stands twice in the data set");
}

std::shared_ptr<Types::Image> FileLoader::load(const std::string& id) const {
  const auto file = files_.find(id);
  if (file == files_.end()) throw failure("the library asked for an unknown image '" + id + "'");
  auto image = to_image(read_picture(file->second));
  progress_.step();
  return image;
}

}  // namespace telvar_host

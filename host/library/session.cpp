#include "library/session.h"

#include "app/text.h"

namespace telvar_host {

Library& Session::library() {
  if (!library_) {
    std::optional<std::filesystem::path> given;
    if (!library_path_.empty()) given = path_from_utf8(library_path_);
    library_ = std::make_unique<Library>(given);
  }
  return *library_;
}

}  // namespace telvar_host

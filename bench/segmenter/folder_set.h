#pragma once

// Image sets from folders, for measuring on real images.

#include <string>

#include "datasets.h"

namespace telvar::bench {

/// Reads `folder`/{train,test}/{images,masks}/NAME.png; in a mask, value v > 0 is category "v". At
/// most `limit` images of each part, evenly chosen. Throws std::runtime_error, naming the file.
ImageSet read_folder_set(const std::string& folder, std::size_t limit = 20);

}  // namespace telvar::bench

#pragma once

#include <string>

#include "telvar/callbacks.h"

namespace telvar::core {

/// The image that `loader` gives for `image_id`, unchecked. Making an image refuses a layout
/// without knowing which image it is: an invalid_image or invalid_image_size that leaves the loader
/// is thrown anew with `subject` before its text. Every other exception, those derived from the two
/// included, passes unchanged.
types::Image load_image(const types::ImageLoader& loader, const std::string& image_id,
                        const std::string& subject);

}  // namespace telvar::core

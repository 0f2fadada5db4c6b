#pragma once

// Images between host and engine. Nothing is checked here: the engine rejects what it cannot use.
// A null image pointer counts as an image without pixels.

#include <memory>

#include "TelvarTypes/Image.h"
#include "telvar/image.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// An engine image with its own copy of the pixels; empty when the host image has none.
telvar::types::Image ConvertImage(const std::shared_ptr<Types::Image>& image);

/// A host image that takes the pixels of `image` over and leaves it without any.
std::shared_ptr<Types::ResultImage> ConvertImage(telvar::types::Image& image);

/// A view of the host's pixels, valid while the host image and its buffer are.
telvar::types::ImageView ConvertToImageView(const std::shared_ptr<Types::Image>& image);

}  // namespace Orbalt::TelvarWrapper::Wrapper

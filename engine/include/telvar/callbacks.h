#pragma once

// What the engine calls back while it trains or processes a batch. Every callback is called from
// the thread that called the engine, one call at a time; an exception from it (but see ImageLoader)
// leaves the engine call unchanged.

#include <functional>
#include <string>

#include "telvar/image.h"

namespace telvar::types {

/// Fetches the image of an identifier. An invalid_image or invalid_image_size that leaves it
/// (thrown by Image's constructor, which cannot know whose image it is) is given the name of the
/// image or mask and its sample.
using ImageLoader = std::function<Image(const std::string& image_id)>;

/// Takes a result image of `image_id` under its `name`; returns an identifier for it.
using ResultImageWriter =
    std::function<std::string(Image&& image, const std::string& image_id, const std::string& name)>;

}  // namespace telvar::types

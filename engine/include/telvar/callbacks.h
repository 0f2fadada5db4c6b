#pragma once

// What the engine calls back while it trains or processes a batch. Every callback is called from
// the thread that called the engine, one call at a time; an exception from it leaves the engine
// call unchanged.

#include <functional>
#include <string>

#include "telvar/image.h"

namespace telvar::types {

/// Fetches the image of an identifier.
using ImageLoader = std::function<Image(const std::string& image_id)>;

/// Takes a result image of `image_id` under its `name`; returns an identifier for it.
using ResultImageWriter =
    std::function<std::string(Image&& image, const std::string& image_id, const std::string& name)>;

}  // namespace telvar::types

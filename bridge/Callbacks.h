#pragma once

// What host and engine call back, and the adapter between the two.

#include "TelvarTypes/Image.h"
#include "telvar/callbacks.h"

namespace Orbalt::TelvarWrapper::Wrapper {

using Types::ImageLoader;
using EngineImageLoader = telvar::types::ImageLoader;
using ResultImageWriter = telvar::types::ResultImageWriter;

/// A loader for the engine that holds a copy of the host's `loader`. Each call asks the host,
/// copies the pixels and releases the host's image. What the host throws, and what the engine's
/// image says of a layout that it refuses, passes unchanged. An empty `loader` throws
/// std::bad_function_call when the engine calls it. A Types::MonitoredLoader becomes the engine's
/// own, which carries its report and its number of threads.
EngineImageLoader AdaptImageLoader(ImageLoader loader);

}  // namespace Orbalt::TelvarWrapper::Wrapper

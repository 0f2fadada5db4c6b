// numpy arrays as images of the library, without copying, and back.
#pragma once

#include <TelvarTypes/MonitoredLoader.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <string>

namespace telvar_python {

enum class Use { kImage, kMask };  // a mask may also be an array of bool

// An image over the memory of `source`, a numpy array or a telvar.Image, which it keeps alive.
// uint8 or uint16, (height, width) or (height, width, channels). Copied only where the library
// would read beyond the array's memory. `name` is what errors call it. Needs the GIL; the result
// may be released without. Throws TypeError, or ValueError for memory that no layout describes.
std::shared_ptr<Orbalt::TelvarWrapper::Types::Image> image_of(const pybind11::object& source,
                                                              const std::string& name,
                                                              Use use = Use::kImage);

// Asks a Python callable for images, from any thread, with the GIL. What the callable raises passes
// as pybind11::error_already_set; None becomes a null pointer. `callable` must outlive the result.
// Throws TypeError when it cannot be called; `parameter` is its name.
Orbalt::TelvarWrapper::Types::ImageLoader loader_of(const pybind11::object& callable,
                                                    const char* parameter, Use use = Use::kImage);

// `loader` for a training: tells the Python callable `progress` (None: nobody) how far it is, and
// cancels the call when that returns False or raises, or when Python got Ctrl-C. `progress` must
// outlive the result. Throws TypeError when it cannot be called.
Orbalt::TelvarWrapper::Types::ImageLoader monitored(
    Orbalt::TelvarWrapper::Types::ImageLoader loader, const pybind11::object& progress,
    unsigned threads);

// An array over the memory of `image`, which it keeps alive: (height, width) or, with more than one
// channel, (height, width, channels).
pybind11::array array_of(const std::shared_ptr<Orbalt::TelvarWrapper::Types::ResultImage>& image);

}  // namespace telvar_python

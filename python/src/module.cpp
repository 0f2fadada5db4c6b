// The extension module telvar._native: what the package telvar is made of. Hosts use the package.
#include <TelvarWrappers/CreateWrapperFactory.h>
#include <pybind11/pybind11.h>

#include <string_view>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "errors.h"
#include "tool.h"

namespace py = pybind11;

namespace telvar_python {

std::shared_ptr<Orbalt::TelvarWrapper::Types::IWrapperFactory> make_factory() {
  std::shared_ptr<Orbalt::TelvarWrapper::Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  return factory;
}

}  // namespace telvar_python

PYBIND11_MODULE(_native, module) {
  module.doc() = "The library behind the package telvar.";
  module.attr("version") = TELVAR_VERSION;
  telvar_python::add_exceptions(module);
  telvar_python::add_ocr(module);
  telvar_python::add_classifier(module);
  telvar_python::add_segmenter(module);
  const auto xxh64 = [](const py::bytes& data) {
    const auto bytes = static_cast<std::string_view>(data);
    return XXH64(bytes.data(), bytes.size(), 0);
  };
  module.def("xxh64", xxh64, py::arg("data"), "XXH64 of the bytes, seed 0.");
}

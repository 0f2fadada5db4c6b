// The library's exceptions as Python classes of the same names.
#pragma once

#include <pybind11/pybind11.h>

namespace telvar_python {

// Adds the classes to `module` and raises them for the library's exceptions from now on.
void add_exceptions(pybind11::module_& module);

}  // namespace telvar_python

#include "errors.h"

#include <TelvarTypes/Exceptions.h>

#include <string>

#include "text.h"

namespace py = pybind11;

namespace telvar_python {
namespace {

using namespace Orbalt::TelvarWrapper;

struct ExceptionClass {
  const char* name;
  const char* docstring;
  bool (*matches)(const TelvarException*);
  PyObject* python;
};

template <class Exception>
bool is(const TelvarException* e) {
  return dynamic_cast<const Exception*>(e) != nullptr;
}

#define ROW(name, docstring) \
  { #name, docstring, is < name>, nullptr }

// The base stands last: the first row that matches decides.
ExceptionClass classes[] = {
    ROW(InvalidArgumentException,
        "A malformed message, parameters out of range, too few samples, a data set that "
        "contradicts itself, or a fielding pattern that is empty or that nothing matches."),
    ROW(InvalidImageException,
        "An image whose layout contradicts itself, or that has no pixels where it should."),
    ROW(InvalidImageSizeException,
        "An image that is empty, too small for the tool, or beyond the engine's limit."),
    ROW(InvalidLabelException, "A label outside its region, or without a usable category."),
    ROW(InvalidOperationException,
        "A failed write, and every engine failure that has no class of its own."),
    ROW(InvalidROIException,
        "A region that is not finite, singular, empty, too small for the tool, too large or wholly "
        "outside its image."),
    ROW(InvalidTrainingArtifactException,
        "A trained artifact that is empty where one is needed, cannot be read, is damaged, or "
        "belongs to another tool."),
    ROW(UnsupportedTrainingArtifactVersionException,
        "A trained artifact of a version that the engine does not support."),
    ROW(TelvarException, "Base of all exceptions of the library; str() is the engine's text."),
};

#undef ROW

void raise(const TelvarException& e) {
  for (const ExceptionClass& row : classes) {
    if (!row.matches(&e)) continue;
    PyErr_SetObject(row.python, text_of(e.what()).ptr());
    return;
  }
}

PyObject* add_class(py::module_& module, const ExceptionClass& row, PyObject* base) {
  const std::string name = std::string("telvar.") + row.name;
  PyObject* made = PyErr_NewExceptionWithDoc(name.c_str(), row.docstring, base, nullptr);
  if (made == nullptr) throw py::error_already_set();
  module.add_object(row.name, made);
  return made;
}

}  // namespace

void add_exceptions(py::module_& module) {
  ExceptionClass& base = *(std::end(classes) - 1);
  base.python = add_class(module, base, PyExc_Exception);
  for (ExceptionClass* row = classes; row != &base; ++row) {
    row->python = add_class(module, *row, base.python);
  }
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      std::rethrow_exception(thrown);
    } catch (const TelvarException& e) {
      raise(e);
    }
  });
}

}  // namespace telvar_python

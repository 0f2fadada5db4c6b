// Identifiers and texts, which are any bytes in the library.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

namespace telvar_python {

// As str: UTF-8, and bytes that are none as lone surrogates, as Python does with file names.
inline pybind11::str text_of(const std::string& bytes) {
  PyObject* text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
  if (text == nullptr) throw pybind11::error_already_set();
  return pybind11::reinterpret_steal<pybind11::str>(text);
}

// The bytes of a str, the inverse of text_of. Throws UnicodeEncodeError for other lone surrogates.
inline std::string bytes_of(const pybind11::str& text) {
  PyObject* bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape");
  if (bytes == nullptr) throw pybind11::error_already_set();
  return pybind11::reinterpret_steal<pybind11::bytes>(bytes);
}

}  // namespace telvar_python

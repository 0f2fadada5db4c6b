#include "field.h"

#include <limits>
#include <utility>

#include "text.h"

namespace py = pybind11;

namespace telvar_python {

Field::Field(py::object value, std::string name)
    : value_(std::move(value)), step_(std::move(name)) {}

Field::Field(py::object value, std::string step, const Field* parent)
    : value_(std::move(value)), step_(std::move(step)), parent_(parent) {}

std::string Field::place() const {
  return parent_ == nullptr ? step_ : parent_->place() + step_;
}

void Field::must_be(const char* what) const {
  throw py::type_error(place() + " must be " + what + ", not " + Py_TYPE(value_.ptr())->tp_name);
}

Field Field::attribute(const char* name) const {
  if (!py::hasattr(value_, name)) must_be((std::string("a record with ") + name).c_str());
  return Field(value_.attr(name), std::string(".") + name, this);
}

std::string Field::text() const {
  if (py::isinstance<py::str>(value_)) return bytes_of(value_);
  if (py::isinstance<py::bytes>(value_)) return py::reinterpret_borrow<py::bytes>(value_);
  must_be("str or bytes");
}

double Field::number() const {
  const double number = PyFloat_AsDouble(value_.ptr());
  if (number == -1 && PyErr_Occurred() != nullptr) {
    if (PyErr_ExceptionMatches(PyExc_TypeError) == 0) throw py::error_already_set();
    PyErr_Clear();
    must_be("a number");
  }
  return number;
}

long long Field::whole_number(long long lowest, long long highest) const {
  const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(value_.ptr()));
  if (!whole) {
    PyErr_Clear();
    must_be("an integer");
  }
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
  if (overflow != 0 || number < lowest || number > highest) {
    throw py::value_error(place() + " must be from " + std::to_string(lowest) + " to " +
                          std::to_string(highest) + ", not " + std::string(py::str(whole)));
  }
  return number;
}

std::uint32_t Field::unsigned_integer() const {
  return static_cast<std::uint32_t>(whole_number(0, std::numeric_limits<std::uint32_t>::max()));
}

std::int32_t Field::integer() const {
  return static_cast<std::int32_t>(whole_number(std::numeric_limits<std::int32_t>::min(),
                                                std::numeric_limits<std::int32_t>::max()));
}

void Field::each(const std::function<void(const Field&)>& use) const {
  // A text is a sequence of texts to Python; here it is a forgotten list.
  const bool text = py::isinstance<py::str>(value_) || py::isinstance<py::bytes>(value_);
  if (text || !py::isinstance<py::iterable>(value_)) must_be("a sequence");
  std::size_t index = 0;
  for (const py::handle element : value_) {
    use(Field(py::reinterpret_borrow<py::object>(element), "[" + std::to_string(index++) + "]",
              this));
  }
}

void Field::each_entry(const std::function<void(const std::string& key, const Field&)>& use) const {
  if (PyMapping_Check(value_.ptr()) == 0 || !py::hasattr(value_, "items")) must_be("a mapping");
  for (const py::handle entry : value_.attr("items")()) {
    const auto [key, value] = entry.cast<std::pair<py::object, py::object>>();
    const std::string name = py::repr(key);
    if (!py::isinstance<py::str>(key) && !py::isinstance<py::bytes>(key)) {
      throw py::type_error("key " + name + " of " + place() + " must be str or bytes");
    }
    use(Field(key, "").text(), Field(value, "[" + name + "]", this));
  }
}

}  // namespace telvar_python

// Reads a Python record attribute by attribute, with errors that name the place:
// "dataset.train_data[2].assignments[0].x must be a number, not str".
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <functional>
#include <string>

namespace telvar_python {

class Field {
 public:
  // `name` is how errors call the whole, for example "dataset".
  Field(pybind11::object value, std::string name);

  // A copy would name a place that may be gone.
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;

  const pybind11::object& value() const { return value_; }
  bool is_none() const { return value_.is_none(); }

  // Throws TypeError when the record has no such attribute. The result must not outlive this.
  Field attribute(const char* name) const;

  // What the value is; otherwise TypeError or, out of range, ValueError.
  std::string text() const;  // str or bytes
  double number() const;     // int, float, or what converts to float
  std::uint32_t unsigned_integer() const;
  std::int32_t integer() const;

  // Every element of an iterable that is no text; every entry of a mapping.
  void each(const std::function<void(const Field&)>& use) const;
  void each_entry(const std::function<void(const std::string& key, const Field&)>& use) const;

  [[noreturn]] void must_be(const char* what) const;  // TypeError
  // "dataset.train_data[2].image_id"
  std::string place() const;

 private:
  Field(pybind11::object value, std::string step, const Field* parent);
  long long whole_number(long long lowest, long long highest) const;

  pybind11::object value_;
  std::string step_;
  const Field* parent_ = nullptr;
};

}  // namespace telvar_python

// What the three tools convert alike.
#pragma once

#include <TelvarTypes/CommonDataSet.h>
#include <TelvarTypes/ROI.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <utility>

#include "field.h"

namespace telvar_python {

// A class of the Python package, for example record_class("telvar.ocr", "Line").
inline pybind11::object record_class(const char* module, const char* name) {
  return pybind11::module_::import(module).attr(name);
}

// A telvar.ROI, or None for the whole image.
inline std::shared_ptr<Orbalt::TelvarWrapper::Types::ROI> roi_of(const Field& roi) {
  if (roi.is_none()) return nullptr;
  const auto single = [&](const char* name) {
    return static_cast<float>(roi.attribute(name).number());
  };
  return std::make_shared<Orbalt::TelvarWrapper::Types::ROI>(Orbalt::TelvarWrapper::Types::ROI{
      single("x"), single("y"), single("angle"), single("skew"),
      roi.attribute("width").unsigned_integer(), roi.attribute("height").unsigned_integer()});
}

// A mapping from sample keys to image identifiers.
inline Orbalt::TelvarWrapper::Types::CommonDataSet batch_of(const Field& samples) {
  Orbalt::TelvarWrapper::Types::CommonDataSet batch;
  samples.each_entry([&](const std::string& key, const Field& image_id) {
    batch.samples[key] = Orbalt::TelvarWrapper::Types::CommonSample(image_id.text());
  });
  return batch;
}

// The two strings of a tool's state, as a pair of bytes.
template <class Data>
pybind11::tuple state_of(const Data& data) {
  return pybind11::make_tuple(pybind11::bytes(data.artifact), pybind11::bytes(data.trainCache));
}

}  // namespace telvar_python

#include <TelvarTypes/ISmartSegmenterWrapper.h>
#include <pybind11/pybind11.h>

#include "images.h"
#include "records.h"
#include "text.h"
#include "tool.h"

namespace py = pybind11;
namespace types = Orbalt::TelvarWrapper::Types;

namespace telvar_python {
namespace {

using Segmenter = Tool<types::ISmartSegmenterWrapper>;

types::SmartSegmenter::Sample sample_of(const Field& from) {
  types::SmartSegmenter::Sample sample;
  sample.imageId = from.attribute("image_id").text();
  sample.roi = roi_of(from.attribute("roi"));
  from.attribute("category_masks").each_entry([&](const std::string& category, const Field& mask) {
    sample.categoryMasks[category] = mask.text();
  });
  return sample;
}

types::SmartSegmenter::Dataset dataset_of(const Field& from) {
  types::SmartSegmenter::Dataset dataset;
  from.attribute("categories").each([&](const Field& category) {
    dataset.categories.push_back(category.text());
  });
  from.attribute("samples").each(
      [&](const Field& sample) { dataset.samples.push_back(sample_of(sample)); });
  return dataset;
}

py::dict maps_of(const types::SmartSegmenter::ProcessResult& from) {
  py::dict maps;
  for (const auto& [name, image] : from.resultImages) maps[text_of(name)] = array_of(image);
  return maps;
}

std::unique_ptr<Segmenter> create(const std::string& artifact, const std::string& train_cache) {
  auto data = std::make_unique<types::SmartSegmenter::Data>(artifact, train_cache);
  return std::make_unique<Segmenter>(make_factory()->CreateSmartSegmenterWrapper(std::move(data)));
}

py::tuple get_data(Segmenter& self) {
  return state_of(*self.run([](auto& tool) { return tool.GetData(); }));
}

py::object train(Segmenter& self, const py::object& dataset, const py::object& load_image,
                 const py::object& load_mask, const py::object& progress, unsigned threads) {
  const auto records = dataset_of(Field(dataset, "dataset"));
  const auto images = monitored(loader_of(load_image, "load_image"), progress, threads);
  const auto masks = loader_of(load_mask, "load_mask", Use::kMask);
  const auto result = self.run([&](auto& tool) { return tool.Train(records, images, masks); });
  return record_class("telvar.segmenter", "TrainingResult")(result.score);
}

py::dict process(Segmenter& self, const py::object& pixels, const py::object& region) {
  const auto image = image_of(pixels, "image");
  const auto roi = roi_of(Field(region, "roi"));
  return maps_of(self.run([&](auto& tool) { return tool.Process(image, roi); }));
}

py::dict batch_process(Segmenter& self, const py::object& samples, const py::object& load_image) {
  const auto batch = batch_of(Field(samples, "samples"));
  const auto loader = loader_of(load_image, "load_image");
  const auto result = self.run([&](auto& tool) { return tool.BatchProcess(batch, loader); });
  py::dict maps;
  for (const auto& [image_id, of_image] : result.results) {
    maps[text_of(image_id)] = maps_of(of_image);
  }
  return maps;
}

}  // namespace

void add_segmenter(py::module_& module) {
  py::class_<Segmenter>(module, "SmartSegmenter")
      .def(py::init(&create), py::call_guard<py::gil_scoped_release>(), py::arg("artifact"),
           py::arg("train_cache"))
      .def("get_data", &get_data)
      .def("train", &train, py::arg("dataset"), py::arg("load_image"), py::arg("load_mask"),
           py::arg("progress"), py::arg("threads"))
      .def("process", &process, py::arg("image"), py::arg("roi"))
      .def("batch_process", &batch_process, py::arg("samples"), py::arg("load_image"));
}

}  // namespace telvar_python

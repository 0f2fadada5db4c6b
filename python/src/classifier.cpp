#include <TelvarTypes/ISmartClassifierWrapper.h>
#include <pybind11/pybind11.h>

#include "images.h"
#include "records.h"
#include "text.h"
#include "tool.h"

namespace py = pybind11;
namespace types = Orbalt::TelvarWrapper::Types;

namespace telvar_python {
namespace {

using Classifier = Tool<types::ISmartClassifierWrapper>;

types::SmartClassifier::Dataset dataset_of(const Field& from) {
  types::SmartClassifier::Dataset dataset;
  from.attribute("samples").each_entry([&](const std::string& key, const Field& sample) {
    dataset.samples[key] = types::SmartClassifier::Sample{sample.attribute("image_id").text(),
                                                          sample.attribute("category_id").text()};
  });
  return dataset;
}

py::list scores_of(const std::vector<types::SmartClassifier::CategoryScore>& from) {
  const auto made = record_class("telvar.classifier", "CategoryScore");
  py::list scores;
  for (const auto& score : from) scores.append(made(text_of(score.categoryId), score.score));
  return scores;
}

template <class Samples>
py::dict scores_by_key(const Samples& samples) {
  py::dict scores;
  for (const auto& [key, of_sample] : samples) scores[text_of(key)] = scores_of(of_sample);
  return scores;
}

std::unique_ptr<Classifier> create(const std::string& artifact, const std::string& train_cache) {
  auto data = std::make_unique<types::SmartClassifier::Data>(artifact, train_cache);
  return std::make_unique<Classifier>(
      make_factory()->CreateSmartClassifierWrapper(std::move(data)));
}

py::tuple get_data(Classifier& self) {
  return state_of(*self.run([](auto& tool) { return tool.GetData(); }));
}

py::object train(Classifier& self, const py::object& dataset, const py::object& load_image,
                 const py::object& progress, unsigned threads) {
  const auto records = dataset_of(Field(dataset, "dataset"));
  const auto loader = monitored(loader_of(load_image, "load_image"), progress, threads);
  const auto result = self.run([&](auto& tool) { return tool.Train(records, loader); });
  return record_class("telvar.classifier", "TrainingResult")(result.overallScore,
                                                             scores_by_key(result.samples));
}

py::list process(Classifier& self, const py::object& pixels) {
  const auto image = image_of(pixels, "image");
  return scores_of(self.run([&](auto& tool) { return tool.Process(image); }).scores);
}

py::dict batch_process(Classifier& self, const py::object& samples, const py::object& load_image) {
  const auto batch = batch_of(Field(samples, "samples"));
  const auto loader = loader_of(load_image, "load_image");
  return scores_by_key(
      self.run([&](auto& tool) { return tool.BatchProcess(batch, loader); }).samples);
}

}  // namespace

void add_classifier(py::module_& module) {
  py::class_<Classifier>(module, "SmartClassifier")
      .def(py::init(&create), py::call_guard<py::gil_scoped_release>(), py::arg("artifact"),
           py::arg("train_cache"))
      .def("get_data", &get_data)
      .def("train", &train, py::arg("dataset"), py::arg("load_image"), py::arg("progress"),
           py::arg("threads"))
      .def("process", &process, py::arg("image"))
      .def("batch_process", &batch_process, py::arg("samples"), py::arg("load_image"));
}

}  // namespace telvar_python

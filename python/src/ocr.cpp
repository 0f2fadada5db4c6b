#include <TelvarTypes/ISmartOCRWrapper.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <vector>

#include "images.h"
#include "records.h"
#include "text.h"
#include "tool.h"

namespace py = pybind11;
namespace types = Orbalt::TelvarWrapper::Types;

namespace telvar_python {
namespace {

using Reader = Tool<types::ISmartOCRWrapper>;

py::object ocr_class(const char* name) {
  return record_class("telvar.ocr", name);
}

types::SmartOCR::TrainData train_data_of(const Field& from) {
  types::SmartOCR::TrainData data;
  data.imageId = from.attribute("image_id").text();
  data.roi = roi_of(from.attribute("roi"));
  from.attribute("assignments").each([&](const Field& label) {
    // Braces: the first fault is the one that is told.
    data.assignments.push_back(types::SmartOCR::TrainDataAssignment{
        label.attribute("x").number(), label.attribute("y").number(),
        label.attribute("category_id").text()});
  });
  return data;
}

types::SmartOCR::Dataset dataset_of(const Field& from) {
  types::SmartOCR::Dataset dataset;
  dataset.width = from.attribute("width").number();
  dataset.height = from.attribute("height").number();
  from.attribute("train_data").each([&](const Field& data) {
    dataset.trainData.push_back(train_data_of(data));
  });
  return dataset;
}

// Two numbers.
std::pair<float, float> pair_of(const Field& from) {
  std::vector<float> numbers;
  from.each([&](const Field& number) { numbers.push_back(static_cast<float>(number.number())); });
  if (numbers.size() != 2) from.must_be("two numbers");
  return {numbers[0], numbers[1]};
}

types::SmartOCR::BasicFielding basic_of(const Field& from) {
  return {from.attribute("allowed_characters").text(), from.attribute("count").integer()};
}

types::SmartOCR::AdvancedFielding advanced_of(const Field& from) {
  types::SmartOCR::AdvancedFielding fielding;
  from.attribute("patterns").each_entry([&](const std::string& name, const Field& lines) {
    auto& pattern = fielding.patterns[name];
    lines.each([&](const Field& line) {
      auto& positions = pattern.emplace_back();
      line.each([&](const Field& position) { positions.push_back(position.text()); });
    });
  });
  return fielding;
}

py::list characters_of(const std::vector<types::SmartOCR::CharacterResult>& from) {
  const auto character_class = ocr_class("CharacterResult");
  const auto score_class = ocr_class("CategoryScore");
  py::list characters;
  for (const auto& character : from) {
    py::list scores;
    if (character.categoryResults) {
      for (const auto& score : *character.categoryResults) {
        scores.append(score_class(text_of(score.categoryId), score.score));
      }
    }
    characters.append(
        character_class(character.firstValue, character.secondValue, character.thirdValue, scores));
  }
  return characters;
}

py::object sample_of(const types::SmartOCR::Sample& from) {
  const auto line_class = ocr_class("Line");
  py::list lines;
  if (from.lines) {
    for (const auto& line : *from.lines) {
      lines.append(line_class(text_of(line.text), py::cast(line.indexes)));
    }
  }
  const auto characters = from.characters ? characters_of(*from.characters) : py::list();
  return ocr_class("Sample")(from.firstValue, from.secondValue, characters, lines);
}

py::object result_of(const types::SmartOCR::ProcessResult& from, bool is_fielded) {
  py::object fielding = py::none();
  if (is_fielded) {
    fielding = ocr_class("FieldingResult")(sample_of(from.fieldingResult.sample),
                                           text_of(from.fieldingResult.patternName));
  }
  return ocr_class("ProcessResult")(from.processingTime, sample_of(from.sample), fielding);
}

py::object result_of(const types::SmartOCR::TrainResult& from) {
  py::dict by_image;
  if (from.labeledSampleResults) {
    for (const auto& [image_id, scores] : *from.labeledSampleResults) {
      by_image[text_of(image_id)] = scores ? py::cast(*scores) : py::list();
    }
  }
  return ocr_class("TrainResult")(from.trainingTime, from.resultValue, by_image);
}

std::unique_ptr<Reader> create(const std::string& artifact, const std::string& train_cache) {
  auto data = std::make_unique<types::SmartOCR::Data>(artifact, train_cache);
  return std::make_unique<Reader>(make_factory()->CreateSmartOCRWrapper(std::move(data)));
}

py::tuple get_data(Reader& self) {
  return state_of(*self.run([](auto& tool) { return tool.GetData(); }));
}

py::object train(Reader& self, const py::object& dataset, const py::object& load_image,
                 const py::object& progress, unsigned threads) {
  const auto records = dataset_of(Field(dataset, "dataset"));
  const auto loader = monitored(loader_of(load_image, "load_image"), progress, threads);
  return result_of(self.run([&](auto& tool) { return tool.Train(records, loader); }));
}

py::object process(Reader& self, const py::object& pixels, const py::object& region,
                   const py::object& nominal_size, const py::object& fielding) {
  const auto image = image_of(pixels, "image");
  const auto roi = roi_of(Field(region, "roi"));
  const auto [width, height] = pair_of(Field(nominal_size, "size"));
  const types::SmartOCR::Size size(width, height);
  const auto read = [&](const auto&... pattern) {
    return self.run([&](auto& tool) { return tool.Process(image, roi, size, pattern...); });
  };
  const Field asked(fielding, "fielding");
  if (asked.is_none()) return result_of(read(), false);
  if (py::hasattr(fielding, "patterns")) return result_of(read(advanced_of(asked)), true);
  return result_of(read(basic_of(asked)), true);
}

py::list sort_characters(Reader& self, const py::object& points, double height) {
  std::vector<std::pair<float, float>> given;
  Field(points, "points").each([&](const Field& point) { given.push_back(pair_of(point)); });
  const auto lines =
      self.run([&](auto& tool) { return tool.SortCharacters(given, static_cast<float>(height)); });
  py::list sorted;
  for (const auto& line : lines) sorted.append(py::cast(line));
  return sorted;
}

}  // namespace

void add_ocr(py::module_& module) {
  py::class_<Reader>(module, "SmartOCR")
      .def(py::init(&create), py::call_guard<py::gil_scoped_release>(), py::arg("artifact"),
           py::arg("train_cache"))
      .def("get_data", &get_data)
      .def("train", &train, py::arg("dataset"), py::arg("load_image"), py::arg("progress"),
           py::arg("threads"))
      .def("process", &process, py::arg("image"), py::arg("roi"), py::arg("size"),
           py::arg("fielding"))
      .def("sort_characters", &sort_characters, py::arg("points"), py::arg("height"));
}

}  // namespace telvar_python

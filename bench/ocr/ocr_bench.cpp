// Trains the character reader on a set of codes, and reads a set with it, through the public
// wrapper.
//
//   ocr_bench train SET PICTURES ARTIFACT   writes ARTIFACT; prints "wall_ms cpu_ms result_value"
//   ocr_bench read ARTIFACT SET OUT         writes the tables of code_set.h

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include "code_set.h"

namespace {

namespace types = Orbalt::TelvarWrapper::Types;
using telvar_bench::CodeSet;
using telvar_bench::Picture;

std::shared_ptr<types::ISmartOCRWrapper> make_reader(const std::string& artifact) {
  std::shared_ptr<types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  return factory->CreateSmartOCRWrapper(std::make_unique<types::SmartOCR::Data>(artifact, ""));
}

// The picture must outlive the returned image.
std::shared_ptr<types::Image> image_of(const Picture& picture) {
  const auto columns = static_cast<std::uint32_t>(picture.pixels.cols);
  const auto rows = static_cast<std::uint32_t>(picture.pixels.rows);
  const auto stride = static_cast<std::uint32_t>(picture.pixels.step);
  return std::make_shared<types::Image>(types::ImageLayout{columns, rows, stride, 1, 8, 0},
                                        picture.pixels.data);
}

types::SmartOCR::Dataset dataset_of(const CodeSet& set) {
  types::SmartOCR::Dataset dataset;
  dataset.width = set.nominal.width;
  dataset.height = set.nominal.height;
  for (const Picture& picture : set.pictures) {
    types::SmartOCR::TrainData data;
    data.imageId = picture.file;
    for (const auto& c : picture.characters) data.assignments.emplace_back(c.x, c.y, c.category);
    dataset.trainData.push_back(data);
  }
  return dataset;
}

void train(const std::string& folder, std::size_t pictures, const std::string& path) {
  const CodeSet set = telvar_bench::load_code_set(folder, pictures);
  std::map<std::string, const Picture*> by_name;
  for (const Picture& picture : set.pictures) by_name[picture.file] = &picture;
  const auto reader = make_reader("");
  const double wall = telvar_bench::wall_ms(), cpu = telvar_bench::process_cpu_ms();
  const auto result = reader->Train(
      dataset_of(set), [&](const std::string& id) { return image_of(*by_name.at(id)); });
  std::cout << telvar_bench::wall_ms() - wall << ' ' << telvar_bench::process_cpu_ms() - cpu << ' '
            << result.resultValue << '\n';
  std::ofstream stream(path, std::ios::binary);
  stream << reader->GetData()->artifact;
  if (!stream.flush()) throw std::runtime_error("cannot write " + path);
}

std::vector<telvar_bench::Character> characters_of(const types::SmartOCR::Sample& sample) {
  std::vector<telvar_bench::Character> found;
  for (std::size_t line = 0; line < sample.lines->size(); ++line) {
    for (const int index : (*sample.lines)[line].indexes) {
      const auto& c = sample.characters->at(static_cast<std::size_t>(index));
      found.push_back({c.categoryResults->front().categoryId, static_cast<int>(line),
                       static_cast<float>(c.firstValue), static_cast<float>(c.secondValue), 0, 0});
    }
  }
  return found;
}

void read(const std::string& path, const std::string& folder, const std::string& out) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  const auto reader = make_reader({std::istreambuf_iterator<char>(stream), {}});
  const CodeSet set = telvar_bench::load_code_set(folder, SIZE_MAX);
  const types::SmartOCR::Size size(set.nominal.width, set.nominal.height);
  // The first call builds the engine's model; that is no part of reading an image.
  reader->Process(image_of(set.pictures.front()), nullptr, size);
  std::vector<telvar_bench::Reading> readings;
  for (const Picture& picture : set.pictures) {
    const double wall = telvar_bench::wall_ms(), cpu = telvar_bench::process_cpu_ms();
    const auto result = reader->Process(image_of(picture), nullptr, size);
    readings.push_back({picture.file, characters_of(result.sample), telvar_bench::wall_ms() - wall,
                        telvar_bench::process_cpu_ms() - cpu});
  }
  telvar_bench::write_readings(out, readings);
}

int run(const std::vector<std::string>& arguments) {
  if (arguments.size() == 4 && arguments[0] == "train") {
    train(arguments[1], std::stoul(arguments[2]), arguments[3]);
    return 0;
  }
  if (arguments.size() == 4 && arguments[0] == "read") {
    read(arguments[1], arguments[2], arguments[3]);
    return 0;
  }
  std::cerr << "usage: ocr_bench train SET PICTURES ARTIFACT | read ARTIFACT SET OUT\n";
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "ocr_bench: " << error.what() << '\n';
    return 1;
  }
}

// Trains the character reader on a set of codes, and reads a set with it, through the public
// wrapper.
//
//   ocr_bench train SET IMAGES ARTIFACT [FROM]   writes ARTIFACT, going on from the artifact
//   FROM;
//                                                  prints "wall_ms cpu_ms result_value"
//   ocr_bench read ARTIFACT SET OUT         writes the tables of code_set.h
//   ocr_bench read-inverted ARTIFACT SET OUT   the same with light and dark exchanged
//   ocr_bench read-patterns ARTIFACT SET OUT   as the patterns of the set match what was read; no
//                                              characters of an image that its pattern does not
//                                              match

#include <TelvarTypes/Exceptions.h>
#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include "code_set.h"

namespace {

namespace types = Orbalt::TelvarWrapper::Types;
using telvar_bench::CodeImage;
using telvar_bench::CodeSet;

std::shared_ptr<types::ISmartOCRWrapper> make_reader(const std::string& artifact) {
  std::shared_ptr<types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  return factory->CreateSmartOCRWrapper(std::make_unique<types::SmartOCR::Data>(artifact, ""));
}

// The image must outlive the returned image.
std::shared_ptr<types::Image> image_of(const CodeImage& image) {
  const auto columns = static_cast<std::uint32_t>(image.pixels.cols);
  const auto rows = static_cast<std::uint32_t>(image.pixels.rows);
  const auto stride = static_cast<std::uint32_t>(image.pixels.step);
  return std::make_shared<types::Image>(types::ImageLayout{columns, rows, stride, 1, 8, 0},
                                        image.pixels.data);
}

types::SmartOCR::Dataset dataset_of(const CodeSet& set) {
  types::SmartOCR::Dataset dataset;
  dataset.width = set.nominal.width;
  dataset.height = set.nominal.height;
  for (const CodeImage& image : set.images) {
    types::SmartOCR::TrainData data;
    data.imageId = image.file;
    for (const auto& c : image.characters) data.assignments.emplace_back(c.x, c.y, c.category);
    dataset.trainData.push_back(data);
  }
  return dataset;
}

std::string read_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// `from`: an artifact to go on from, or nothing.
void train(const std::string& folder, std::size_t images, const std::string& path,
           const std::string& from) {
  const CodeSet set = telvar_bench::load_code_set(folder, images);
  std::map<std::string, const CodeImage*> by_name;
  for (const CodeImage& image : set.images) by_name[image.file] = &image;
  const auto reader = make_reader(from.empty() ? "" : read_file(from));
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
      const auto& best = c.categoryResults->front();
      found.push_back({best.categoryId, static_cast<int>(line), static_cast<float>(c.firstValue),
                       static_cast<float>(c.secondValue), 0, 0, best.score});
    }
  }
  return found;
}

using Size = types::SmartOCR::Size;
using ReadImage =
    std::function<types::SmartOCR::Sample(types::ISmartOCRWrapper&, const CodeImage&, const Size&)>;

types::SmartOCR::Sample read_plainly(types::ISmartOCRWrapper& reader, const CodeImage& image,
                                     const Size& size) {
  return reader.Process(image_of(image), nullptr, size).sample;
}

types::SmartOCR::Sample read_inverted(types::ISmartOCRWrapper& reader, const CodeImage& image,
                                      const Size& size) {
  CodeImage inverted = image;
  cv::bitwise_not(image.pixels, inverted.pixels);
  return read_plainly(reader, inverted, size);
}

types::SmartOCR::Sample read_by_pattern(types::ISmartOCRWrapper& reader, const CodeImage& image,
                                        const Size& size) {
  types::SmartOCR::AdvancedFielding fielding;
  fielding.patterns["format"] = image.pattern;
  try {
    return reader.Process(image_of(image), nullptr, size, fielding).fieldingResult.sample;
  } catch (const Orbalt::TelvarWrapper::InvalidArgumentException& error) {
    if (std::string(error.what()) != "No matching Fielding pattern was found") throw;
    types::SmartOCR::Sample nothing;
    nothing.lines = std::make_shared<std::vector<types::SmartOCR::Line>>();
    return nothing;
  }
}

void read(const std::string& path, const std::string& folder, const std::string& out,
          const ReadImage& read_image) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  const auto reader = make_reader({std::istreambuf_iterator<char>(stream), {}});
  const CodeSet set = telvar_bench::load_code_set(folder, SIZE_MAX);
  const Size size(set.nominal.width, set.nominal.height);
  // The first call builds the engine's model; that is no part of reading an image.
  read_plainly(*reader, set.images.front(), size);
  std::vector<telvar_bench::Reading> readings;
  for (const CodeImage& image : set.images) {
    const double wall = telvar_bench::wall_ms(), cpu = telvar_bench::process_cpu_ms();
    const auto sample = read_image(*reader, image, size);
    readings.push_back({image.file, characters_of(sample), telvar_bench::wall_ms() - wall,
                        telvar_bench::process_cpu_ms() - cpu});
  }
  telvar_bench::write_readings(out, readings);
}

int run(const std::vector<std::string>& arguments) {
  if ((arguments.size() == 4 || arguments.size() == 5) && arguments[0] == "train") {
    train(arguments[1], std::stoul(arguments[2]), arguments[3],
          arguments.size() == 5 ? arguments[4] : "");
    return 0;
  }
  const std::map<std::string, ReadImage> ways = {
      {"read", read_plainly}, {"read-inverted", read_inverted}, {"read-patterns", read_by_pattern}};
  if (arguments.size() == 4 && ways.count(arguments[0]) == 1) {
    read(arguments[1], arguments[2], arguments[3], ways.at(arguments[0]));
    return 0;
  }
  std::cerr << "usage: ocr_bench train SET IMAGES ARTIFACT [FROM] |\n"
               "       ocr_bench read|read-inverted|read-patterns ARTIFACT SET OUT\n";
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

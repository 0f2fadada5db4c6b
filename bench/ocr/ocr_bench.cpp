// Trains the character reader on a set of codes, and reads a set with it, through the public
// wrapper.
//
//   ocr_bench train SET PICTURES ARTIFACT [FROM]   writes ARTIFACT, going on from the artifact
//   FROM;
//                                                  prints "wall_ms cpu_ms result_value"
//   ocr_bench read ARTIFACT SET OUT         writes the tables of code_set.h
//   ocr_bench read-inverted ARTIFACT SET OUT   the same with light and dark exchanged
//   ocr_bench read-patterns ARTIFACT SET OUT   as the patterns of the set match what was read; no
//                                              characters of a picture that its pattern does not
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

std::string read_file(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// `from`: an artifact to go on from, or nothing.
void train(const std::string& folder, std::size_t pictures, const std::string& path,
           const std::string& from) {
  const CodeSet set = telvar_bench::load_code_set(folder, pictures);
  std::map<std::string, const Picture*> by_name;
  for (const Picture& picture : set.pictures) by_name[picture.file] = &picture;
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
using ReadPicture =
    std::function<types::SmartOCR::Sample(types::ISmartOCRWrapper&, const Picture&, const Size&)>;

types::SmartOCR::Sample read_plainly(types::ISmartOCRWrapper& reader, const Picture& picture,
                                     const Size& size) {
  return reader.Process(image_of(picture), nullptr, size).sample;
}

types::SmartOCR::Sample read_inverted(types::ISmartOCRWrapper& reader, const Picture& picture,
                                      const Size& size) {
  Picture inverted = picture;
  cv::bitwise_not(picture.pixels, inverted.pixels);
  return read_plainly(reader, inverted, size);
}

types::SmartOCR::Sample read_by_pattern(types::ISmartOCRWrapper& reader, const Picture& picture,
                                        const Size& size) {
  types::SmartOCR::AdvancedFielding fielding;
  fielding.patterns["format"] = picture.pattern;
  try {
    return reader.Process(image_of(picture), nullptr, size, fielding).fieldingResult.sample;
  } catch (const Orbalt::TelvarWrapper::InvalidArgumentException& error) {
    if (std::string(error.what()) != "No matching Fielding pattern was found") throw;
    types::SmartOCR::Sample nothing;
    nothing.lines = std::make_shared<std::vector<types::SmartOCR::Line>>();
    return nothing;
  }
}

void read(const std::string& path, const std::string& folder, const std::string& out,
          const ReadPicture& read_picture) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path);
  const auto reader = make_reader({std::istreambuf_iterator<char>(stream), {}});
  const CodeSet set = telvar_bench::load_code_set(folder, SIZE_MAX);
  const Size size(set.nominal.width, set.nominal.height);
  // The first call builds the engine's model; that is no part of reading an image.
  read_plainly(*reader, set.pictures.front(), size);
  std::vector<telvar_bench::Reading> readings;
  for (const Picture& picture : set.pictures) {
    const double wall = telvar_bench::wall_ms(), cpu = telvar_bench::process_cpu_ms();
    const auto sample = read_picture(*reader, picture, size);
    readings.push_back({picture.file, characters_of(sample), telvar_bench::wall_ms() - wall,
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
  const std::map<std::string, ReadPicture> ways = {
      {"read", read_plainly}, {"read-inverted", read_inverted}, {"read-patterns", read_by_pattern}};
  if (arguments.size() == 4 && ways.count(arguments[0]) == 1) {
    read(arguments[1], arguments[2], arguments[3], ways.at(arguments[0]));
    return 0;
  }
  std::cerr << "usage: ocr_bench train SET PICTURES ARTIFACT [FROM] |\n"
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

#include "tools/reader_tool.h"

#include "app/errors.h"
#include "library/records.h"
#include "tools/loading.h"

namespace telvar_host {
namespace {

ReadCharacter converted(const Types::SmartOCR::CharacterResult& character) {
  ReadCharacter read{character.firstValue, character.secondValue, character.thirdValue, {}, 0};
  if (!character.categoryResults) return read;
  for (const auto& category : *character.categoryResults) {
    if (read.category.empty() || category.score > read.score) {
      read.category = category.categoryId;
      read.score = category.score;
    }
  }
  return read;
}

ReadLine converted(const Types::SmartOCR::Line& line, std::size_t characters) {
  ReadLine read{line.text, {}};
  for (const int index : line.indexes) {
    if (index < 0 || static_cast<std::size_t>(index) >= characters) {
      throw failure("the library returned a line of characters that it did not return");
    }
    read.characters.push_back(static_cast<std::size_t>(index));
  }
  return read;
}

Reading converted(const Types::SmartOCR::Sample& sample) {
  Reading reading;
  reading.mean_score = sample.firstValue;
  reading.lowest_score = sample.secondValue;
  if (sample.characters) {
    for (const auto& character : *sample.characters)
      reading.characters.push_back(converted(character));
  }
  if (sample.lines) {
    for (const auto& line : *sample.lines) {
      reading.lines.push_back(converted(line, reading.characters.size()));
    }
  }
  return reading;
}

}  // namespace

std::vector<std::string> Reading::texts() const {
  std::vector<std::string> texts;
  for (const auto& line : lines) texts.push_back(line.text);
  return texts;
}

ReaderTool::ReaderTool(Session& session, const StateFile& state)
    : tool_(session.library().factory().CreateSmartOCRWrapper(
          std::make_unique<Types::SmartOCR::Data>(state.artifact, state.train_cache))),
      size_(state.size) {}

double ReaderTool::train(const OcrData& data, const NominalSize& size, Progress& progress,
                         const StopRequest& stop) {
  Types::SmartOCR::Dataset dataset;
  dataset.width = size.width;
  dataset.height = size.height;
  FileLoader files(progress, stop);
  for (const auto& item : data.items) {
    Types::SmartOCR::TrainData sample;
    sample.imageId = item.id;
    sample.roi = to_roi(item.region);
    for (const auto& mark : item.characters) {
      const auto [u, v] = item.in_region(mark);
      sample.assignments.emplace_back(u, v, mark.category);
    }
    files.add(item.id, item.file);
    dataset.trainData.push_back(std::move(sample));
  }
  progress.start("training", files.size());
  const auto result = tool_->Train(dataset, files.monitored());
  progress.finish();
  size_ = size;
  return result.resultValue;
}

Reading ReaderTool::process(const cv::Mat& image, const std::optional<Region>& region,
                            const NominalSize& size, const Fielding& fielding) {
  const auto given = to_image(image);
  const auto roi = to_roi(region);
  if (std::holds_alternative<std::monostate>(fielding)) {
    return converted(tool_->Process(given, roi, to_size(size)).sample);
  }
  const auto result =
      std::holds_alternative<BasicFielding>(fielding)
          ? tool_->Process(given, roi, to_size(size), std::get<BasicFielding>(fielding))
          : tool_->Process(given, roi, to_size(size), std::get<AdvancedFielding>(fielding));
  auto reading = converted(result.fieldingResult.sample);
  reading.pattern = result.fieldingResult.patternName;
  return reading;
}

std::vector<std::vector<std::size_t>> ReaderTool::sort(
    const std::vector<std::pair<float, float>>& points, float height) {
  std::vector<std::vector<std::size_t>> lines;
  for (const auto& line : tool_->SortCharacters(points, height)) {
    lines.emplace_back(line.begin(), line.end());
  }
  return lines;
}

StateFile ReaderTool::state() const {
  const auto data = tool_->GetData();
  return {ToolKind::kOcr, size_, data->artifact, data->trainCache};
}

}  // namespace telvar_host

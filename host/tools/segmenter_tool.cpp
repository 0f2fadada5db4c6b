#include "tools/segmenter_tool.h"

#include "app/text.h"
#include "library/records.h"
#include "tools/loading.h"

namespace telvar_host {
namespace {

Probabilities images_of(const Types::SmartSegmenter::ProcessResult& result) {
  Probabilities images;
  for (const auto& [category, image] : result.resultImages) images[category] = to_mat(*image);
  return images;
}

}  // namespace

SegmenterTool::SegmenterTool(Session& session, const StateFile& state)
    : tool_(session.library().factory().CreateSmartSegmenterWrapper(
          std::make_unique<Types::SmartSegmenter::Data>(state.artifact, state.train_cache))) {}

double SegmenterTool::train(const SegmenterData& data, Progress& progress,
                            const StopRequest& stop) {
  Types::SmartSegmenter::Dataset dataset;
  dataset.categories = data.categories;
  FileLoader files(progress, stop);
  std::map<std::string, MaskSource> masks;
  for (const auto& item : data.items) {
    Types::SmartSegmenter::Sample sample;
    sample.imageId = item.id;
    files.add(item.id, item.file);
    for (const auto& [category, source] : item.masks) {
      // The library names it in its errors; one file of class indexes serves several categories.
      const auto id = utf8(source.file) + " (" + category + ")";
      sample.categoryMasks[category] = id;
      masks[id] = source;
    }
    dataset.samples.push_back(std::move(sample));
  }
  progress.start("training", files.size());
  const auto result = tool_->Train(dataset, files.monitored(), [&](const std::string& id) {
    return to_image(read_mask(masks.at(id)));
  });
  progress.finish();
  return result.score;
}

Probabilities SegmenterTool::process(const cv::Mat& image, const std::optional<Region>& region) {
  return images_of(tool_->Process(to_image(image), to_roi(region)));
}

std::map<std::string, Probabilities> SegmenterTool::batch(
    const std::map<std::string, cv::Mat>& images) {
  Types::CommonDataSet batch;
  for (const auto& entry : images) batch.samples[entry.first].imageId = entry.first;
  const auto answer =
      tool_->BatchProcess(batch, [&](const std::string& id) { return to_image(images.at(id)); });
  std::map<std::string, Probabilities> result;
  for (const auto& [id, images] : answer.results) result[id] = images_of(images);
  return result;
}

StateFile SegmenterTool::state() const {
  const auto data = tool_->GetData();
  return {ToolKind::kSegmenter, {}, data->artifact, data->trainCache};
}

}  // namespace telvar_host

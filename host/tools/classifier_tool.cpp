#include "tools/classifier_tool.h"

#include "library/records.h"
#include "tools/loading.h"

namespace telvar_host {

ClassifierTool::ClassifierTool(Session& session, const StateFile& state)
    : tool_(session.library().factory().CreateSmartClassifierWrapper(
          std::make_unique<Types::SmartClassifier::Data>(state.artifact, state.train_cache))) {}

double ClassifierTool::train(const ClassifierData& data, Progress& progress,
                             const StopRequest& stop) {
  Types::SmartClassifier::Dataset dataset;
  FileLoader files(progress, stop);
  for (const auto& item : data.items) {
    files.add(item.id, item.file);
    dataset.samples[item.id] = {item.id, item.category};
  }
  progress.start("training", files.size());
  const auto result = tool_->Train(dataset, files.monitored());
  progress.finish();
  return result.overallScore;
}

Scores ClassifierTool::process(const cv::Mat& image) {
  return tool_->Process(to_image(image)).scores;
}

std::map<std::string, Scores> ClassifierTool::batch(const std::map<std::string, cv::Mat>& images) {
  Types::CommonDataSet batch;
  for (const auto& entry : images) batch.samples[entry.first].imageId = entry.first;
  const auto result =
      tool_->BatchProcess(batch, [&](const std::string& id) { return to_image(images.at(id)); });
  return {result.samples.begin(), result.samples.end()};
}

StateFile ClassifierTool::state() const {
  const auto data = tool_->GetData();
  return {ToolKind::kClassifier, {}, data->artifact, data->trainCache};
}

CategoryScore best_of(const Scores& scores) {
  CategoryScore best;
  for (const auto& score : scores) {
    if (best.categoryId.empty() || score.score > best.score) best = score;
  }
  return best;
}

}  // namespace telvar_host

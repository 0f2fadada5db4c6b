#include "predictions/predictor.h"

#include <TelvarTypes/Exceptions.h>

#include "app/errors.h"
#include "app/text.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

namespace Wrapper = Orbalt::TelvarWrapper;

Prediction of_scores(Scores scores) {
  Prediction prediction;
  prediction.scores = std::move(scores);
  return prediction;
}

Prediction of_maps(Probabilities maps) {
  Prediction prediction;
  prediction.tool = ToolKind::kSegmenter;
  prediction.maps = std::move(maps);
  return prediction;
}

class ClassifierPredictor : public Predictor {
 public:
  ClassifierPredictor(Session& session, const StateFile& state) : tool_(session, state) {}

  Prediction predict(const cv::Mat& image) override { return of_scores(tool_.process(image)); }

  std::map<std::string, Prediction> predict_all(const Images& images) override {
    std::map<std::string, Prediction> predictions;
    for (auto& [id, scores] : tool_.batch(images)) predictions[id] = of_scores(scores);
    return predictions;
  }

 private:
  ClassifierTool tool_;
};

class SegmenterPredictor : public Predictor {
 public:
  SegmenterPredictor(Session& session, const StateFile& state, const PredictorSettings& settings)
      : tool_(session, state), region_(settings.region) {}

  Prediction predict(const cv::Mat& image) override {
    return of_maps(tool_.process(image, region_));
  }

  std::map<std::string, Prediction> predict_all(const Images& images) override {
    if (region_) return Predictor::predict_all(images);  // the batch operation knows no regions
    std::map<std::string, Prediction> predictions;
    for (auto& [id, maps] : tool_.batch(images)) predictions[id] = of_maps(maps);
    return predictions;
  }

 private:
  SegmenterTool tool_;
  std::optional<Region> region_;
};

class ReaderPredictor : public Predictor {
 public:
  ReaderPredictor(Session& session, const StateFile& state, PredictorSettings settings)
      : tool_(session, state), settings_(std::move(settings)) {}

  Prediction predict(const cv::Mat& image) override {
    Prediction prediction;
    prediction.tool = ToolKind::kOcr;
    prediction.reading = tool_.process(image, settings_.region, settings_.size, settings_.fielding);
    return prediction;
  }

 private:
  ReaderTool tool_;
  PredictorSettings settings_;
};

Attempt refused(const std::exception& error) {
  if (concerns_every_image(error)) throw;
  Attempt attempt;
  attempt.error = error.what();
  return attempt;
}

std::string without_prefix(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : text;
}

}  // namespace

std::map<std::string, Prediction> Predictor::predict_all(const Images& images) {
  std::map<std::string, Prediction> predictions;
  for (const auto& [id, image] : images) predictions[id] = predict(image);
  return predictions;
}

std::unique_ptr<Predictor> make_predictor(Session& session, const StateFile& state,
                                          const PredictorSettings& settings) {
  switch (state.tool) {
    case ToolKind::kOcr:
      return std::make_unique<ReaderPredictor>(session, state, settings);
    case ToolKind::kClassifier:
      return std::make_unique<ClassifierPredictor>(session, state);
    case ToolKind::kSegmenter:
      break;
  }
  return std::make_unique<SegmenterPredictor>(session, state, settings);
}

bool concerns_every_image(const std::exception& error) {
  if (const auto* own = dynamic_cast<const HostError*>(&error)) {
    return own->code() != ExitCode::kBadData;
  }
  return dynamic_cast<const Wrapper::TelvarException*>(&error) == nullptr ||
         dynamic_cast<const Wrapper::InvalidTrainingArtifactException*>(&error) != nullptr ||
         dynamic_cast<const Wrapper::UnsupportedTrainingArtifactVersionException*>(&error) !=
             nullptr ||
         dynamic_cast<const Wrapper::InvalidOperationException*>(&error) != nullptr;
}

Attempts attempt(Predictor& predictor, const Images& images) {
  Attempts attempts;
  if (images.empty()) return attempts;
  try {
    auto predictions = predictor.predict_all(images);
    for (const auto& image : images) {
      const auto found = predictions.find(image.first);
      auto& attempt = attempts[image.first];
      if (found == predictions.end()) {
        attempt.error = "the library returned no result";
      } else {
        attempt.prediction = std::move(found->second);
      }
    }
  } catch (const std::exception& error) {
    auto refusal = refused(error);
    if (images.size() == 1) return {{images.begin()->first, std::move(refusal)}};
    for (const auto& image : images) attempts.merge(attempt(predictor, Images{image}));
  }
  return attempts;
}

Attempt attempt(Predictor& predictor, const std::filesystem::path& file) {
  try {
    Attempt attempt;
    attempt.image = read_image(file);
    attempt.prediction = predictor.predict(attempt.image);
    return attempt;
  } catch (const std::exception& error) {
    auto refusal = refused(error);
    refusal.error = without_prefix(refusal.error, utf8(file) + ": ");
    return refusal;
  }
}

}  // namespace telvar_host

// The classifier as this program uses it.
#pragma once

#include <TelvarTypes/ISmartClassifierWrapper.h>

#include <map>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

#include "app/interrupt.h"
#include "datasets/classifier_data.h"
#include "files/state_file.h"
#include "library/session.h"

namespace telvar_host {

using CategoryScore = Types::SmartClassifier::CategoryScore;
using Scores = std::vector<CategoryScore>;

class ClassifierTool {
 public:
  ClassifierTool(Session& session, const StateFile& state);

  // Returns the engine's overall score. Images are read as the engine asks for them.
  double train(const ClassifierData& data, Progress& progress, const StopRequest& stop);
  Scores process(const cv::Mat& image);
  std::map<std::string, Scores> batch(const std::map<std::string, cv::Mat>& images);
  StateFile state() const;

 private:
  std::shared_ptr<Types::ISmartClassifierWrapper> tool_;
};

// The best category; ties go to the first. An empty one for no scores.
CategoryScore best_of(const Scores& scores);

}  // namespace telvar_host

// The segmenter as this program uses it.
#pragma once

#include <TelvarTypes/ISmartSegmenterWrapper.h>

#include <map>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>

#include "app/interrupt.h"
#include "app/region.h"
#include "datasets/segmenter_data.h"
#include "files/state_file.h"
#include "library/session.h"

namespace telvar_host {

// 8-bit gray probability images by category.
using Probabilities = std::map<std::string, cv::Mat>;

class SegmenterTool {
 public:
  SegmenterTool(Session& session, const StateFile& state);

  // Returns the engine's score. Images and masks are read as the engine asks for them.
  double train(const SegmenterData& data, Progress& progress, const StopRequest& stop);
  Probabilities process(const cv::Mat& image, const std::optional<Region>& region = {});
  std::map<std::string, Probabilities> batch(const std::map<std::string, cv::Mat>& images);
  StateFile state() const;

 private:
  std::shared_ptr<Types::ISmartSegmenterWrapper> tool_;
};

}  // namespace telvar_host

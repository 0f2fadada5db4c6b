// Any of the three tools on images.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>

#include "library/session.h"
#include "predictions/prediction.h"

namespace telvar_host {

struct PredictorSettings {
  std::optional<Region> region;  // ocr, segmenter
  NominalSize size;              // ocr
  Fielding fielding;             // ocr
};

using Images = std::map<std::string, cv::Mat>;  // by id

class Predictor {
 public:
  virtual ~Predictor() = default;
  virtual Prediction predict(const cv::Mat& image) = 0;
  // Several at once, as the library's batch operations take them.
  virtual std::map<std::string, Prediction> predict_all(const Images& images);
};

std::unique_ptr<Predictor> make_predictor(Session& session, const StateFile& state,
                                          const PredictorSettings& settings);

// Whether an exception says something of every image (a state that cannot be used, a tool that is
// busy, no memory, anything unforeseen) and not just of the one at hand (a file that cannot be
// read, an image that the library refuses, no fitting pattern).
bool concerns_every_image(const std::exception& error);

// A prediction, or why there is none for this image.
struct Attempt {
  std::optional<Prediction> prediction;
  std::string error;
  cv::Mat image;  // that was read from the file
};

using Attempts = std::map<std::string, Attempt>;  // by id

// All at once; when the library refuses that, one by one, to find which of them it refuses.
// Exceptions that concern every image pass.
Attempts attempt(Predictor& predictor, const Images& images);

// Reads the file and predicts. The error does not repeat the file's name.
Attempt attempt(Predictor& predictor, const std::filesystem::path& file);

}  // namespace telvar_host

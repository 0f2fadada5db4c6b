// What an image that is refused means for the others.

#include <gmock/gmock.h>

#include <opencv2/core.hpp>

#include <TelvarTypes/Exceptions.h>

#include "app/errors.h"
#include "predictions/predictor.h"

namespace telvar_host {
namespace {

// What concerns every image ends a run; what concerns one is said beside it.
TEST(Predictions, OneRuleForWhatConcernsEveryImage) {
  namespace Wrapper = Orbalt::TelvarWrapper;
  const auto check = [](bool every, const std::exception& error) {
    EXPECT_EQ(concerns_every_image(error), every) << error.what();
  };
  check(false, data_error("the file cannot be read"));
  check(true, failure("the disk is full"));
  check(true, usage_error("no size"));
  check(false, Wrapper::InvalidImageException("image"));
  check(false, Wrapper::InvalidImageSizeException("size"));
  check(false, Wrapper::InvalidROIException("region"));
  check(false, Wrapper::InvalidArgumentException("no pattern"));
  check(true, Wrapper::InvalidTrainingArtifactException("artifact"));
  check(true, Wrapper::UnsupportedTrainingArtifactVersionException("version"));
  check(true, Wrapper::InvalidOperationException("busy"));
  check(true, std::bad_alloc());
  check(true, std::runtime_error("unforeseen"));
}

class TwoRefused : public Predictor {
 public:
  Prediction predict(const cv::Mat& image) override {
    if (image.cols == 2) {
      throw Orbalt::TelvarWrapper::InvalidImageSizeException("image width 2 is below 3");
    }
    if (image.cols == 9) {
      throw Orbalt::TelvarWrapper::InvalidOperationException("busy");
    }
    Prediction prediction;
    prediction.scores.emplace_back("a", image.cols);
    return prediction;
  }
};

TEST(Predictions, ARefusedImageLeavesTheOthersOfItsGroup) {
  TwoRefused predictor;
  const auto image = [](int width) { return cv::Mat(1, width, CV_8U); };
  auto attempts = attempt(predictor, Images{{"a", image(3)}, {"b", image(2)}, {"c", image(4)}});
  EXPECT_EQ(attempts.at("a").prediction->scores.front().score, 3);
  EXPECT_EQ(attempts.at("b").error, "image width 2 is below 3");
  EXPECT_FALSE(attempts.at("b").prediction);
  EXPECT_EQ(attempts.at("c").prediction->scores.front().score, 4);
  EXPECT_THROW(attempt(predictor, Images{{"a", image(3)}, {"b", image(9)}}),
               Orbalt::TelvarWrapper::InvalidOperationException);
}

}  // namespace
}  // namespace telvar_host

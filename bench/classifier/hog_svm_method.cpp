#include <opencv2/imgproc.hpp>
#include <opencv2/ml.hpp>
#include <opencv2/objdetect.hpp>

#include "methods.h"

namespace bench {
namespace {

/// Small images at their own 28 px in cells of 7, larger ones at 64 px in cells of 8.
struct Describer {
  explicit Describer(const LabelledImages& set)
      : small(std::max(set.images[0].rows, set.images[0].cols) <= 32),
        side(small ? 28 : 64),
        cell(small ? 7 : 8),
        hog({side, side}, {2 * cell, 2 * cell}, {cell, cell}, {cell, cell}, 9) {}

  cv::Mat describe(const cv::Mat& image) const {
    cv::Mat gray = image;
    if (image.channels() == 3) cv::cvtColor(image, gray, cv::COLOR_BGR2GRAY);
    cv::resize(gray, gray, {side, side}, 0, 0, cv::INTER_AREA);
    std::vector<float> values;
    hog.compute(gray, values);
    return cv::Mat(values, true).t();
  }

  bool small;
  int side, cell;
  cv::HOGDescriptor hog;
};

}  // namespace

Outcome run_hog_svm(const LabelledImages& train, const LabelledImages& test) {
  Outcome outcome;
  double start = cpu_seconds();
  const Describer describer(train);
  cv::Mat features;
  for (const cv::Mat& image : train.images) features.push_back(describer.describe(image));
  cv::Scalar mean, deviation;
  cv::meanStdDev(features, mean, deviation);
  auto svm = cv::ml::SVM::create();
  svm->setType(cv::ml::SVM::C_SVC);
  svm->setKernel(cv::ml::SVM::RBF);
  svm->setC(10);
  svm->setGamma(1 / (features.cols * deviation[0] * deviation[0]));
  svm->setTermCriteria({cv::TermCriteria::MAX_ITER | cv::TermCriteria::EPS, 100000, 1e-3});
  svm->train(features, cv::ml::ROW_SAMPLE, cv::Mat(train.labels, true));
  outcome.train_seconds = cpu_seconds() - start;
  start = cpu_seconds();
  for (std::size_t i = 0; i < test.images.size(); ++i) {
    const float answer = svm->predict(describer.describe(test.images[i]));
    outcome.accuracy += int(answer) == test.labels[i];
  }
  outcome.accuracy /= double(test.images.size());
  outcome.single_ms = 1000 * (cpu_seconds() - start) / double(test.images.size());
  return outcome;
}

}  // namespace bench

#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>
#include <opencv2/ml.hpp>

#include "methods.h"

namespace telvar::bench {
namespace {

constexpr int kTrees = 40;
constexpr int kDepth = 14;
/// Training pixels a category, half of them positive where there are as many.
constexpr int kPixels = 12000;

void append_scale(const cv::Mat& luma, double sigma, std::vector<cv::Mat>& bank) {
  cv::Mat smooth, dx, dy, dxx, dyy, dxy, magnitude;
  cv::GaussianBlur(luma, smooth, {}, sigma);
  cv::Sobel(smooth, dx, CV_32F, 1, 0);
  cv::Sobel(smooth, dy, CV_32F, 0, 1);
  cv::Sobel(smooth, dxx, CV_32F, 2, 0);
  cv::Sobel(smooth, dyy, CV_32F, 0, 2);
  cv::Sobel(smooth, dxy, CV_32F, 1, 1);
  cv::magnitude(dx, dy, magnitude);
  // Eigenvalues of the Hessian: ridges and valleys of any direction.
  cv::Mat half_difference = (dxx - dyy) * 0.5, root;
  cv::magnitude(half_difference, dxy, root);
  const cv::Mat half_sum = (dxx + dyy) * 0.5;
  bank.insert(bank.end(), {smooth, magnitude, half_sum + root, half_sum - root});
}

void append_texture(const cv::Mat& luma, int side, std::vector<cv::Mat>& bank) {
  cv::Mat mean, squares;
  cv::blur(luma, mean, {side, side});
  cv::blur(luma.mul(luma), squares, {side, side});
  cv::Mat deviation = cv::max(squares - mean.mul(mean), 0.0);
  cv::sqrt(deviation, deviation);
  bank.insert(bank.end(), {deviation, luma - mean});
}

/// One row a pixel, one column a filter.
cv::Mat filter_bank(const cv::Mat& bytes) {
  cv::Mat image, luma;
  bytes.convertTo(image, CV_32F);
  std::vector<cv::Mat> bank;
  if (image.channels() == 3) {
    cv::cvtColor(image, luma, cv::COLOR_BGR2GRAY);
    cv::Mat smooth;
    cv::GaussianBlur(image, smooth, {}, 1.5);
    std::vector<cv::Mat> planes;
    cv::split(smooth, planes);
    bank.insert(bank.end(), planes.begin(), planes.end());
  } else {
    luma = image;
  }
  bank.push_back(luma);
  for (const double sigma : {0.7, 1.4, 2.8, 5.6}) append_scale(luma, sigma, bank);
  for (const int side : {5, 11, 23}) append_texture(luma, side, bank);
  cv::Mat rows(static_cast<int>(luma.total()), static_cast<int>(bank.size()), CV_32F);
  for (std::size_t i = 0; i < bank.size(); ++i) {
    bank[i].reshape(1, rows.rows).copyTo(rows.col(static_cast<int>(i)));
  }
  return rows;
}

struct Forest {
  cv::Ptr<cv::ml::RTrees> trees;
  double threshold = 0.5;
};

struct PixelSample {
  cv::Mat features, responses;
};

PixelSample draw_pixels(const std::vector<cv::Mat>& banks, const std::vector<cv::Mat>& masks,
                        cv::RNG& random) {
  std::array<std::vector<cv::Point>, 2> places;  // x: pixel, y: image; by response
  for (int image = 0; image < static_cast<int>(masks.size()); ++image) {
    for (int i = 0; i < static_cast<int>(masks[image].total()); ++i) {
      places[masks[image].data[i] != 0].emplace_back(i, image);
    }
  }
  PixelSample sample;
  for (int response = 0; response < 2; ++response) {
    const auto& from = places[response];
    const int count = std::min<int>(kPixels / 2, static_cast<int>(from.size()));
    for (int i = 0; i < count; ++i) {
      const cv::Point place = from[random.uniform(0, static_cast<int>(from.size()))];
      sample.features.push_back(banks[place.y].row(place.x));
      sample.responses.push_back(static_cast<float>(response));
    }
  }
  return sample;
}

/// The threshold, of 19, with the best intersection over union on the training images' pixels.
double best_threshold(const Forest& forest, const std::vector<cv::Mat>& banks,
                      const std::vector<cv::Mat>& masks, cv::RNG& random) {
  std::array<double, 19> shared{}, united{};
  constexpr int kProbes = 30000;
  for (int i = 0; i < kProbes; ++i) {
    const int image = random.uniform(0, static_cast<int>(banks.size()));
    const int pixel = random.uniform(0, banks[image].rows);
    const float vote = forest.trees->predict(banks[image].row(pixel));
    const bool belongs = masks[image].data[pixel] != 0;
    for (std::size_t t = 0; t < shared.size(); ++t) {
      const bool claimed = vote >= 0.05 * static_cast<double>(t + 1);
      shared[t] += belongs && claimed;
      united[t] += belongs || claimed;
    }
  }
  std::size_t best = 9;
  for (std::size_t t = 0; t < shared.size(); ++t) {
    if (shared[t] * united[best] > shared[best] * united[t]) best = t;
  }
  return 0.05 * static_cast<double>(best + 1);
}

Forest grow_forest(const PixelSample& sample) {
  Forest forest;
  forest.trees = cv::ml::RTrees::create();
  forest.trees->setMaxDepth(kDepth);
  forest.trees->setMinSampleCount(4);
  forest.trees->setTermCriteria({cv::TermCriteria::MAX_ITER, kTrees, 0});
  // Responses 0 and 1 as numbers: the mean vote is a probability.
  forest.trees->train(
      cv::ml::TrainData::create(sample.features, cv::ml::ROW_SAMPLE, sample.responses));
  return forest;
}

class ForestMethod : public Method {
 public:
  std::string name() const override { return "random forest, filter bank"; }

  void train(const ImageSet& set) override {
    std::vector<cv::Mat> banks;
    for (const LabelledImage& labelled : set.train) banks.push_back(filter_bank(labelled.image));
    cv::RNG random(17);
    for (const std::string& category : set.categories) {
      std::vector<cv::Mat> masks;
      for (const LabelledImage& labelled : set.train) {
        const auto mask = labelled.masks.find(category);
        masks.push_back(mask == labelled.masks.end() ? cv::Mat::zeros(labelled.image.size(), CV_8U)
                                                     : mask->second);
      }
      Forest forest = grow_forest(draw_pixels(banks, masks, random));
      forest.threshold = best_threshold(forest, banks, masks, random);
      forests_[category] = forest;
    }
  }

  ProbabilityImages segment(const cv::Mat& image) override {
    const cv::Mat bank = filter_bank(image);
    ProbabilityImages masks;
    for (const auto& [category, forest] : forests_) {
      cv::Mat votes;
      forest.trees->predict(bank, votes);
      // Moves the threshold to the middle of the scale, where every method is cut.
      const cv::Mat scaled = votes.reshape(1, image.rows) * (127.5 / forest.threshold);
      scaled.convertTo(masks[category], CV_8U);
    }
    return masks;
  }

 private:
  std::map<std::string, Forest> forests_;
};

}  // namespace

std::unique_ptr<Method> make_forest_method() {
  return std::make_unique<ForestMethod>();
}

}  // namespace telvar::bench

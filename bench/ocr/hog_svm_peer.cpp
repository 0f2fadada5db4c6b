// Names characters at their true places with an RBF support vector machine on histograms of
// oriented gradients, and prints the best result over patch size, gamma and C, so that the peer is
// at its best: "errors characters patch gamma C".
//
//   hog_svm_peer TRAIN_SET TRAIN_IMAGES TEST_SET

#include <algorithm>
#include <iostream>
#include <map>
#include <opencv2/imgproc.hpp>
#include <opencv2/ml.hpp>
#include <opencv2/objdetect.hpp>
#include <string>

#include "code_set.h"

namespace {

using telvar_bench::CodeSet;

struct Samples {
  cv::Mat features;  // one row a character, 324 values
  std::vector<std::string> categories;
};

// Upright patch of `side` pixels around the character's centre, scaled to the detector's 32 x 32.
cv::Mat patch(const cv::Mat& pixels, float x, float y, float side) {
  const float scale = side / 32;
  const cv::Matx23f map(scale, 0, x - 15.5f * scale, 0, scale, y - 15.5f * scale);
  cv::Mat result;
  cv::warpAffine(pixels, result, map, {32, 32}, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                 cv::BORDER_REPLICATE);
  return result;
}

Samples describe(const CodeSet& set, float side) {
  const cv::HOGDescriptor descriptor({32, 32}, {16, 16}, {8, 8}, {8, 8}, 9);
  Samples samples;
  for (const auto& image : set.images) {
    for (const auto& character : image.characters) {
      std::vector<float> values;
      descriptor.compute(patch(image.pixels, character.x, character.y, side), values);
      samples.features.push_back(cv::Mat(values, true).reshape(1, 1));
      samples.categories.push_back(character.category);
    }
  }
  return samples;
}

int count_errors(const Samples& train, const Samples& test, double gamma, double c) {
  std::map<std::string, int> numbers;
  for (const auto& category : train.categories)
    numbers.emplace(category, static_cast<int>(numbers.size()));
  cv::Mat labels;
  for (const auto& category : train.categories) labels.push_back(numbers.at(category));
  const auto machine = cv::ml::SVM::create();
  machine->setType(cv::ml::SVM::C_SVC);
  machine->setKernel(cv::ml::SVM::RBF);
  machine->setGamma(gamma);
  machine->setC(c);
  machine->train(train.features, cv::ml::ROW_SAMPLE, labels);
  cv::Mat answers;
  machine->predict(test.features, answers);
  int errors = 0;
  for (std::size_t i = 0; i < test.categories.size(); ++i) {
    const auto found = numbers.find(test.categories[i]);
    const int answer = cvRound(answers.at<float>(static_cast<int>(i)));
    errors += found == numbers.end() || found->second != answer;
  }
  return errors;
}

void run(const std::string& train_folder, std::size_t count, const std::string& test_folder) {
  const CodeSet train_set = telvar_bench::load_code_set(train_folder, count);
  const CodeSet test_set = telvar_bench::load_code_set(test_folder, SIZE_MAX);
  std::string best;
  int fewest = INT_MAX;
  for (const float patch_heights : {1.0f, 1.2f, 1.4f}) {
    const float side = patch_heights * train_set.nominal.height;
    const Samples train = describe(train_set, side), test = describe(test_set, side);
    for (const double gamma : {0.1, 0.3, 1.0}) {
      for (const double c : {1.0, 10.0}) {
        const int errors = count_errors(train, test, gamma, c);
        if (errors >= fewest) continue;
        fewest = errors;
        best = std::to_string(errors) + ' ' + std::to_string(test.categories.size()) + ' ' +
               std::to_string(patch_heights) + ' ' + std::to_string(gamma) + ' ' +
               std::to_string(c);
      }
    }
  }
  std::cout << best << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: hog_svm_peer TRAIN_SET TRAIN_IMAGES TEST_SET\n";
    return 2;
  }
  try {
    run(argv[1], std::stoul(argv[2]), argv[3]);
  } catch (const std::exception& error) {
    std::cerr << "hog_svm_peer: " << error.what() << '\n';
    return 1;
  }
}

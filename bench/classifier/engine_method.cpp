#include <algorithm>
#include <cmath>
#include <set>

#include "methods.h"
#include "telvar/classifier.h"
#include "telvar_msg/classification.pb.h"
#include "telvar_msg/common.pb.h"

namespace bench {
namespace {

namespace classifier = telvar::qv::classifier;
namespace messages = telvar_msg::qv::classification;

telvar::types::Image to_engine(const cv::Mat& image) {
  const auto channels = unsigned(image.channels());
  return telvar::types::Image(unsigned(image.cols), unsigned(image.rows), unsigned(image.step[0]),
                              channels, 8, channels == 3 ? 1 : 0, image.data);
}

telvar::types::ImageLoader loader_of(const LabelledImages& set) {
  return [&set](const std::string& id) { return to_engine(set.images[std::stoul(id)]); };
}

std::string category_of(int label) {
  return std::string(1, char('a' + label));
}

std::string dataset_of(const LabelledImages& set) {
  messages::Dataset dataset;
  for (std::size_t i = 0; i < set.images.size(); ++i) {
    messages::Sample& sample = (*dataset.mutable_samples())[std::to_string(i)];
    sample.set_image_id(std::to_string(i));
    sample.set_category_id(category_of(set.labels[i]));
    (*dataset.mutable_categories())[category_of(set.labels[i])];
  }
  return dataset.SerializeAsString();
}

/// Share of the foreign images whose confidence reaches that of nine tenths of the right answers.
double reaching(std::vector<double> right, const std::vector<double>& foreign) {
  if (right.empty() || foreign.empty()) return -1;
  const auto limit = right.begin() + std::ptrdiff_t(right.size() / 10);
  std::nth_element(right.begin(), limit, right.end());
  const auto count =
      std::count_if(foreign.begin(), foreign.end(), [&](double score) { return score >= *limit; });
  return double(count) / double(foreign.size());
}

/// Accuracy, and how far stated scores are from observed accuracy (ten bins of the best score).
void judge(const messages::ProcessingResult& result, const LabelledImages& train,
           const LabelledImages& test, Outcome& outcome) {
  double counts[10] = {}, sums[10] = {}, hits[10] = {}, known = 0;
  std::vector<double> right_scores, foreign_scores;
  const std::set<int> trained(train.labels.begin(), train.labels.end());
  for (const auto& [key, sample] : result.samples()) {
    const messages::Score* best = nullptr;
    for (const auto& score : sample.scores()) {
      if (best == nullptr || score.score() > best->score()) best = &score;
    }
    const int label = test.labels[std::stoul(key)];
    if (trained.count(label) == 0) {
      foreign_scores.push_back(best->score());
      continue;
    }
    const bool right = best->category_id() == category_of(label);
    if (right) right_scores.push_back(best->score());
    const int bin = std::clamp(int(best->score() * 10), 0, 9);
    counts[bin] += 1, sums[bin] += best->score(), hits[bin] += right;
    outcome.accuracy += right, known += 1;
  }
  outcome.calibration = 0;
  for (int bin = 0; bin < 10; ++bin) {
    outcome.calibration += std::abs(sums[bin] - hits[bin]) / known;
  }
  outcome.accuracy /= known;
  outcome.foreign = reaching(right_scores, foreign_scores);
}

}  // namespace

Outcome run_engine(const LabelledImages& train, const LabelledImages& test, int effort) {
  Outcome outcome;
  const double start = cpu_seconds();
  auto cache = classifier::TrainCache::create(false);
  messages::TrainingParameters parameters;
  parameters.set_training_setting(effort);
  const auto [answer, artifact] = classifier::train(
      "", dataset_of(train), parameters.SerializeAsString(), loader_of(train), *cache);
  outcome.train_seconds = cpu_seconds() - start;
  messages::TrainingResult trained;
  trained.ParseFromString(answer);
  outcome.own_estimate = trained.overall_score();

  telvar_msg::common::Dataset batch;
  for (std::size_t i = 0; i < test.images.size(); ++i) {
    (*batch.mutable_samples())[std::to_string(i)].set_image_id(std::to_string(i));
  }
  messages::ProcessingResult result;
  result.ParseFromString(classifier::process(artifact, batch.SerializeAsString(), loader_of(test),
                                             *classifier::TrainCache::create(false)));
  judge(result, train, test, outcome);

  const classifier::Model model(artifact, "", telvar::types::CpuDevice());
  const std::size_t singles = std::min<std::size_t>(test.images.size(), 200);
  const double before = cpu_seconds();
  for (std::size_t i = 0; i < singles; ++i) {
    const auto image = to_engine(test.images[i]);
    model.process(telvar::types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0});
  }
  outcome.single_ms = 1000 * (cpu_seconds() - before) / double(singles);
  return outcome;
}

}  // namespace bench

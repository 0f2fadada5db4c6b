#pragma once

// The records of the image classifier: its state, what it learns from, and its results. The records
// are plain values that check nothing; distinct objects may be used from distinct threads. All
// scores come from the engine, in its order; nothing is sorted, filtered or reduced to a winner.
// Meanings given for values are the embedded engine's.
//
//   Dataset dataset;
//   dataset.samples["0001"] = {"images/0001.png", "good"};
//   dataset.samples["0002"] = {"images/0002.png", "scratched"};

#include <string>
#include <unordered_map>
#include <vector>

#include "TelvarTypes/Export.h"

namespace Orbalt::TelvarWrapper::Types::SmartClassifier {

/// The tool's whole state, the unit in which a host stores it. A tool that was never trained has
/// two empty strings. Both strings hold arbitrary bytes that only the engine understands.
class TELVAR_TYPES_API Data {
 public:
  Data(const std::string& artifact, const std::string& trainCache);
  Data(const Data&);
  Data(Data&&) noexcept;
  Data& operator=(const Data&);
  Data& operator=(Data&&) noexcept;
  virtual ~Data();

  /// The trained artifact: all that processing needs. Empty: never trained.
  std::string artifact;

  /// The train cache: makes the next training cheaper, changes no result, and may be dropped. One
  /// that cannot be loaded is replaced by an empty cache without a word.
  std::string trainCache;
};

/// How well one category fits one image.
struct TELVAR_TYPES_API CategoryScore {
  CategoryScore();
  CategoryScore(std::string categoryId, double score = 0.0);
  TELVAR_TYPES_VALUE_OPERATIONS(CategoryScore);

  /// The category's identifier as it was trained, any bytes.
  std::string categoryId;

  /// Probability of the category, 0..1; the scores of an image sum to 1.
  double score = 0.0;
};

/// The scores of one image.
struct TELVAR_TYPES_API Result {
  Result();
  Result(std::vector<CategoryScore> scores);
  TELVAR_TYPES_VALUE_OPERATIONS(Result);

  /// One entry per known category, by ascending category identifier.
  std::vector<CategoryScore> scores;
};

/// The scores of a batch.
struct TELVAR_TYPES_API SamplesResult {
  SamplesResult();
  SamplesResult(std::unordered_map<std::string, std::vector<CategoryScore>> samples);
  TELVAR_TYPES_VALUE_OPERATIONS(SamplesResult);

  /// Per sample key of the batch, the scores of its image. The order of the keys carries no
  /// meaning.
  std::unordered_map<std::string, std::vector<CategoryScore>> samples;
};

/// One labelled image.
struct TELVAR_TYPES_API Sample {
  Sample();
  Sample(std::string imageId, std::string categoryId = {});
  TELVAR_TYPES_VALUE_OPERATIONS(Sample);

  /// What the image loader is asked for. Any bytes; need not be unique within a data set.
  std::string imageId;

  /// The category the image belongs to. Any bytes, at least one.
  std::string categoryId;
};

/// The labelled images of one training.
struct TELVAR_TYPES_API Dataset {
  Dataset();
  Dataset(std::vector<std::string> categories,
          std::unordered_map<std::string, Sample> samples = {});
  TELVAR_TYPES_VALUE_OPERATIONS(Dataset);

  /// For the host's own use: the tool takes the categories from the samples and never reads this.
  std::vector<std::string> categories;

  /// The images by sample key (any bytes). The order carries no meaning.
  std::unordered_map<std::string, Sample> samples;
};

/// How a training went.
struct TELVAR_TYPES_API TrainingResult {
  TrainingResult();
  TrainingResult(double overallScore,
                 std::unordered_map<std::string, std::vector<CategoryScore>> samples = {});
  TELVAR_TYPES_VALUE_OPERATIONS(TrainingResult);

  /// Share of right answers, 0..1, by networks that have not seen the sample: cross-validated where
  /// the first training had up to 6000 samples, otherwise of one sample in twenty. The samples kept
  /// in the artifact count.
  double overallScore = 0.0;

  /// Per sample key of the data set, the scores that the trained model gives its image.
  std::unordered_map<std::string, std::vector<CategoryScore>> samples;
};

}  // namespace Orbalt::TelvarWrapper::Types::SmartClassifier

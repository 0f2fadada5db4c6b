#pragma once

// The records of the pixel segmenter: its state, what it learns from, and its results. The records
// are plain values that check nothing; distinct objects may be used from distinct threads. Meanings
// given for values are the embedded engine's.
//
//   Sample sample{"images/0001.png", nullptr, {{"scratch", "masks/0001-scratch.png"}}};
//   Dataset dataset{{"scratch", "dent"}, {sample}};  // none of "dent" is in this image: no mask

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/Image.h"
#include "TelvarTypes/ROI.h"

namespace Orbalt::TelvarWrapper::Types::SmartSegmenter {

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

/// The result images of one image. Copies share the images.
struct TELVAR_TYPES_API ProcessResult {
  ProcessResult();
  ProcessResult(std::map<std::string, std::shared_ptr<ResultImage>> resultImages);
  TELVAR_TYPES_VALUE_OPERATIONS(ProcessResult);

  /// By name, in ascending byte order: one 8-bit gray image per category, named by the category, in
  /// the size of the region (or image): probability 0..255 that the pixel belongs to the category.
  /// No pointer is null.
  std::map<std::string, std::shared_ptr<ResultImage>> resultImages;
};

/// The result images of a batch.
struct TELVAR_TYPES_API ProcessResults {
  ProcessResults();
  ProcessResults(std::unordered_map<std::string, ProcessResult> results);
  TELVAR_TYPES_VALUE_OPERATIONS(ProcessResults);

  /// Per image identifier, its result images. An image for which the engine made none has no entry.
  std::unordered_map<std::string, ProcessResult> results;
};

/// One image with its masks.
struct TELVAR_TYPES_API Sample {
  Sample();
  Sample(std::string imageId, std::shared_ptr<ROI> roi = nullptr,
         std::unordered_map<std::string, std::string> categoryMasks = {});
  TELVAR_TYPES_VALUE_OPERATIONS(Sample);

  /// What the image loader is asked for. Any bytes; of two samples with one identifier the later
  /// replaces the earlier.
  std::string imageId;

  /// The part of the image to train on; null: the whole image.
  std::shared_ptr<ROI> roi;

  /// Per category, what the mask loader is asked for. A mask has its image's size; a pixel that is
  /// not 0 belongs to the category. No entry: none of the category in this image.
  std::unordered_map<std::string, std::string> categoryMasks;
};

/// The images of one training.
struct TELVAR_TYPES_API Dataset {
  Dataset();
  Dataset(std::vector<std::string> categories, std::vector<Sample> samples = {});
  TELVAR_TYPES_VALUE_OPERATIONS(Dataset);

  /// The categories to learn, at least one, also when the training goes on from an artifact that
  /// knows some. Any bytes, at least one each; a repeated one counts once. Categories
  /// may overlap in an image or leave pixels free.
  std::vector<std::string> categories;

  /// The images. The order does not matter but for repeated identifiers.
  std::vector<Sample> samples;
};

/// How a training went.
struct TELVAR_TYPES_API TrainingResult {
  TrainingResult();
  TrainingResult(double score);
  TELVAR_TYPES_VALUE_OPERATIONS(TrainingResult);

  /// Intersection over union at probability 0.5, 0..1, as the mean over the categories that occur.
  /// It is measured on the held-out images, a fifth and 1 to 10 of them. A last stage learns from
  /// these too, so the delivered state is rather better than its score. The score flatters in three
  /// cases: the artifact that the training started from has already seen the held-out images; only
  /// images that were learned from show a category; or no image could be held out, as with a single
  /// one, so that the images learned from are measured.
  double score = 0.0;
};

}  // namespace Orbalt::TelvarWrapper::Types::SmartSegmenter

#pragma once

// The character reader. Messages cross as serialised strings of the telvar_msg.qv.ocr family.
//
//   auto cache = telvar::qv::ocr::TrainCache::create(capacity);
//   auto [result, artifact] = telvar::qv::ocr::train("", dataset, parameters, loader, *cache);
//   telvar::qv::ocr::Model model(artifact, runtime_parameters, telvar::types::CpuDevice());
//   std::string answer = model.process(view, transform, size);

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "telvar/callbacks.h"
#include "telvar/device.h"
#include "telvar/export.h"
#include "telvar/image.h"

namespace telvar::qv::ocr {

/// A trained reader at one nominal character size. Immutable: several threads may process at once.
class TELVAR_API Model {
 public:
  /// `artifact` as returned by `train`; `runtime_parameters` a serialised RuntimeParameters.
  /// Throws invalid_training_artifact, training_artifact_tool_type_error,
  /// training_artifact_unsupported_version, invalid_message, invalid_parameters.
  Model(const std::string& artifact, const std::string& runtime_parameters,
        const types::Device& device);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  ~Model();

  /// Reads the region that `transform` and `size` describe; size (0, 0) with the identity is the
  /// whole image. Returns a serialised Result.
  /// Throws invalid_image, invalid_image_size (also for a region of more than 2^26 pixels at 24 to
  /// the nominal character, or too many characters for the number of categories), invalid_roi.
  std::string process(const types::ImageView& image, const types::AffineTransform& transform,
                      const types::Size2<unsigned>& size) const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

/// What makes training again cheaper; never needed for a result. Not to be used by two calls at
/// once.
class TELVAR_API TrainCache {
 public:
  /// An empty cache of at most `capacity` bytes; 2^64 - 1 is the documented default limit.
  static std::unique_ptr<TrainCache> create(unsigned long long capacity);

  TrainCache(const TrainCache&) = delete;
  TrainCache& operator=(const TrainCache&) = delete;
  virtual ~TrainCache();

  class Impl;
  Impl& impl() const { return *impl_; }

 private:
  explicit TrainCache(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

/// Replaces the contents of `cache`. Throws read_error; do not rely on what the cache then holds.
TELVAR_API void load(TrainCache& cache, std::istream& stream);

/// Throws write_error.
TELVAR_API void save(const TrainCache& cache, std::ostream& stream);

/// Trains from `artifact` (empty: from nothing) on a serialised Dataset. Returns a serialised
/// TrainingResult and the new artifact.
/// Throws everything that Model's constructor and process throw, and invalid_dataset,
/// invalid_label, insufficient_number_of_samples.
TELVAR_API std::tuple<std::string, std::string> train(const std::string& artifact,
                                                      const std::string& dataset,
                                                      const std::string& parameters,
                                                      const types::ImageLoader& loader,
                                                      TrainCache& cache);

/// Groups points into lines of text: lines top to bottom, points of a line left to right. `height`
/// is the nominal character height in the points' unit. Every index comes back exactly once.
/// Throws invalid_parameters when a point or `height` is not finite, or `height` not positive.
TELVAR_API std::vector<std::vector<std::size_t>> sort_characters(
    const std::vector<std::pair<float, float>>& points, float height);

/// Matches read samples against patterns. Immutable: several threads may apply at once.
class TELVAR_API Fielding {
 public:
  /// A serialised Fielding message.
  /// Throws invalid_message; invalid_parameters for an empty pattern, line or class (named with its
  /// place, counted from 0), a negative count, an advanced fielding without patterns, and when the
  /// message sets no fielding, or both.
  explicit Fielding(const std::string& fielding);
  Fielding(const Fielding&) = delete;
  Fielding& operator=(const Fielding&) = delete;
  ~Fielding();

  /// A serialised SampleResult in; the fielded SampleResult and a FieldingResult out, serialised.
  /// Without a match the FieldingResult says so and the sample is empty; after basic fielding the
  /// pattern's name is empty.
  /// Throws invalid_message, also for a line that names a character that does not exist, or that
  /// stands in a line already.
  std::pair<std::string, std::string> apply(const std::string& sample) const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace telvar::qv::ocr

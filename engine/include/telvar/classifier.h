#pragma once

// The image classifier. Messages cross as serialised strings of the telvar_msg.qv.classification
// family; batches as telvar_msg.common.Dataset.

#include <iosfwd>
#include <memory>
#include <string>
#include <tuple>

#include "telvar/callbacks.h"
#include "telvar/device.h"
#include "telvar/export.h"
#include "telvar/image.h"

namespace telvar::qv::classifier {

/// A trained classifier. Immutable: several threads may process at once.
class TELVAR_API Model {
 public:
  /// `artifact` as returned by `train`; `runtime_parameters` is empty.
  /// Throws invalid_training_artifact, training_artifact_tool_type_error,
  /// training_artifact_unsupported_version, invalid_parameters.
  Model(const std::string& artifact, const std::string& runtime_parameters,
        const types::Device& device);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  ~Model();

  /// Scores the region that `transform` and `size` describe; size (0, 0) with the identity is the
  /// whole image. Returns a serialised Result.
  /// Throws invalid_image, invalid_image_size, invalid_roi.
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
  /// An empty cache of the documented default capacity. `keep_images` has no effect: prepared
  /// samples are kept, raw images never.
  static std::unique_ptr<TrainCache> create(bool keep_images);

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
/// Throws everything that Model's constructor and process throw, and invalid_message,
/// invalid_label, invalid_dataset, insufficient_number_of_samples.
TELVAR_API std::tuple<std::string, std::string> train(const std::string& artifact,
                                                      const std::string& dataset,
                                                      const std::string& parameters,
                                                      const types::ImageLoader& loader,
                                                      TrainCache& cache);

/// Scores every sample of a serialised common Dataset. Returns a serialised ProcessingResult.
/// Throws everything that Model's constructor and process throw, and invalid_message.
TELVAR_API std::string process(const std::string& artifact, const std::string& dataset,
                               const types::ImageLoader& loader, TrainCache& cache);

}  // namespace telvar::qv::classifier

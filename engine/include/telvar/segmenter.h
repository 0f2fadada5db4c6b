#pragma once

// The pixel segmenter. Messages cross as serialised strings of the telvar_msg.qv.segmentation
// family; batches as telvar_msg.common.Dataset.

#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "telvar/callbacks.h"
#include "telvar/device.h"
#include "telvar/export.h"
#include "telvar/image.h"

namespace telvar::qv::segmenter {

/// A trained segmenter. Immutable: several threads may process at once.
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

  /// Segments the region that `transform` and `size` describe; size (0, 0) with the identity is
  /// the whole image. Returns a serialised Result and one 8-bit gray image per category, by
  /// category id, in the region's size: probability 0..255.
  /// Throws invalid_image, invalid_image_size, invalid_roi.
  std::tuple<std::string, std::map<std::string, types::Image>> process(
      const types::ImageView& image, const types::AffineTransform& transform,
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
  /// `keep_images` has no effect: prepared samples are kept, raw images never.
  static std::unique_ptr<TrainCache> create(bool keep_images, unsigned long long capacity);

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

/// Trains from `artifact` (empty: from nothing) on a serialised Dataset. Images come from `loader`,
/// masks from `mask_loader`; `writer` may be empty. Returns a serialised TrainingResult and the new
/// artifact.
/// Throws everything that Model's constructor and process throw, and invalid_message,
/// invalid_dataset, insufficient_number_of_samples.
TELVAR_API std::tuple<std::string, std::string> train(
    const std::string& artifact, const std::string& dataset, const std::string& parameters,
    const types::ImageLoader& loader, const types::ImageLoader& mask_loader, TrainCache& cache,
    const types::ResultImageWriter& writer);

/// Segments every sample of a serialised common Dataset; `writer` gets each result image with the
/// sample's image id and the category id, from the calling thread. Returns a serialised Result.
/// Throws everything that Model's constructor and process throw, and invalid_message.
TELVAR_API std::string process(const std::string& artifact, const std::string& dataset,
                               const types::ImageLoader& loader,
                               const types::ResultImageWriter& writer, TrainCache& cache);

}  // namespace telvar::qv::segmenter

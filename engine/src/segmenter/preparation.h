#pragma once

// From requests to training tiles: loads, checks and cuts up, on the calling thread, through the
// train cache.

#include <vector>

#include "core/cache_session.h"
#include "core/regions.h"
#include "segmenter/dataset.h"
#include "segmenter/samples/training_tile.h"
#include "telvar/callbacks.h"

namespace telvar::segmenter {

/// The tiles of one sample; labels refer to `categories` of the model being trained.
struct PreparedSample {
  std::string name;
  std::vector<TrainingTile> tiles;
  TrainingTile overview;  // the whole region, reduced to an overview
};

/// The image of a request and its region, checked.
struct LoadedImage {
  types::Image image;
  core::Region region;
};

/// Throws invalid_image, invalid_image_size, invalid_roi, naming the sample.
LoadedImage load_image(const SampleRequest& request, const types::ImageLoader& loader);

/// Loads every sample of `request`; `categories` are the model's (those listed among them, in
/// ascending order); the longer side of overviews has `overview_side` cells at most. Whatever a
/// loader throws passes through. Throws what load_image throws, and invalid_dataset for a mask that
/// is not of its image's size.
std::vector<PreparedSample> prepare_samples(const TrainingRequest& request,
                                            const std::vector<std::string>& categories,
                                            int overview_side, const types::ImageLoader& loader,
                                            const types::ImageLoader& mask_loader,
                                            core::CacheSession& cache);

}  // namespace telvar::segmenter

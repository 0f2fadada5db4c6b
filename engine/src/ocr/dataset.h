#pragma once

// The labelled images of a training, out of its message.

#include <string>
#include <vector>

#include "ocr/samples/preparation.h"
#include "telvar/callbacks.h"

namespace telvar::core {
class CacheSession;
}

namespace telvar::ocr {

/// One image of a data set.
struct DatasetSample {
  std::string key;
  std::string image_id;
  bool has_region = false;
  types::AffineTransform transform{1, 0, 0, 0, 1, 0};
  types::Size2<unsigned> region_size{0, 0};
  std::vector<RegionLabel> labels;
};

struct LabelledDataset {
  NominalSize size;
  std::vector<DatasetSample> samples;   // by ascending key
  std::vector<std::string> categories;  // those with labels, ascending
};

/// Parses and checks what can be checked without the images. Throws invalid_message,
/// invalid_parameters (size), invalid_dataset (category not listed, too many or too long, too many
/// labels in a sample),
/// invalid_label (no category, position not finite).
LabelledDataset parse_dataset(const std::string& message);

/// Fetches the image of a sample and prepares it, by way of the cache; labels get the index of
/// their category in `categories` (ascending). Throws invalid_image, invalid_image_size,
/// invalid_roi, and invalid_label for a label outside its region.
PreparedSample load_sample(const DatasetSample& sample, const NominalSize& size,
                           const std::vector<std::string>& categories,
                           const types::ImageLoader& loader, core::CacheSession& cache);

}  // namespace telvar::ocr

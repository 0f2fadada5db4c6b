#pragma once

// The training set as the host hands it over, checked, and the images behind it.

#include <string>
#include <vector>

#include "classifier/samples/thumbnail.h"
#include "core/cache_session.h"
#include "core/worker_pool.h"
#include "telvar/callbacks.h"

namespace telvar::classifier {

struct DatasetEntry {
  std::string key, image_id, category_id;
};

/// A serialised Dataset: entries by ascending key. Throws invalid_message, invalid_dataset,
/// invalid_label.
std::vector<DatasetEntry> parse_dataset(const std::string& message);

/// A serialised common Dataset; the category identifiers stay empty. Throws invalid_message.
std::vector<DatasetEntry> parse_batch(const std::string& message);

/// Effort from serialised TrainingParameters. Throws invalid_message, invalid_parameters.
int parse_effort(const std::string& message);

/// Checks an image and reduces it, through the cache.
/// Throws invalid_image, invalid_image_size.
class ThumbnailLoader {
 public:
  ThumbnailLoader(const types::ImageLoader& loader, core::CacheSession& cache,
                  core::WorkerPool& pool, int max_side)
      : loader_(loader), cache_(cache), pool_(pool), max_side_(max_side) {}

  /// The thumbnails of entries [first, last), in order. `loader` is called on this thread.
  std::vector<Thumbnail> load(const std::vector<DatasetEntry>& entries, std::size_t first,
                              std::size_t last);

 private:
  const types::ImageLoader& loader_;
  core::CacheSession& cache_;
  core::WorkerPool& pool_;
  int max_side_;
};

}  // namespace telvar::classifier

#pragma once

// An image loader that takes the progress of the training it is given to. Header-only: both sides
// recognise it by its type, std::function::target, and an engine that does not sees a plain loader.

#include <functional>
#include <string>
#include <utility>

#include "telvar/callbacks.h"

namespace telvar::types {

/// Takes the share of the training that is done, 0..1, and the last score on held-out samples, 0..1
/// or less than 0. Throws to cancel: what it throws leaves the engine call unchanged, and the train
/// cache is as before. May be called from a thread of the engine's own, one call at a time.
using ProgressReport = std::function<void(double fraction, double score)>;

struct MonitoredLoader {
  ImageLoader load;
  ProgressReport report;
  /// The most threads that work at the call; 0: as many as the process may use.
  unsigned threads = 0;

  Image operator()(const std::string& image_id) const { return load(image_id); }
};

}  // namespace telvar::types

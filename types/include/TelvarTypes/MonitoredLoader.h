#pragma once

// Progress of a training, a way to cancel it, and the number of its threads.
//
// A MonitoredLoader is passed where an image loader goes. The library recognises it by its type;
// everywhere else it is an image loader like any other.
//
//   std::atomic<bool> stop{false};
//   MonitoredLoader loader(loadImage, [&](const Progress& progress) {
//     show(progress.fraction, progress.score);
//     return !stop;
//   });
//   try {
//     reader->Train(dataset, loader);
//   } catch (const InvalidOperationException&) {
//     if (!stop) throw;  // otherwise cancelled: the reader is as it was
//   }

#include <functional>
#include <memory>
#include <string>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/Image.h"

namespace Orbalt::TelvarWrapper::Types {

/// How far a call has come.
struct TELVAR_TYPES_API Progress {
  /// Both values not known.
  Progress();
  Progress(float fraction, float score);
  TELVAR_TYPES_VALUE_OPERATIONS(Progress);

  /// The share of the training steps that is done, 0..1; never falls while one tool trains. Less
  /// than 0: not known, which is so while images are fetched. Most trainings may end early; the
  /// fraction counts with the longest, and jumps forward when fewer steps turn out to be enough.
  float fraction = -1;

  /// The score at the last time that the tool measured itself on held-out samples, 0..1, in the
  /// sense of the training result's score. Less than 0: not measured yet, or by an engine that does
  /// not say. The classifier measures itself only at the end.
  float score = -1;
};

/// Takes the progress of a call. Returns whether the call shall go on; false cancels it.
///
/// Called before every image that is fetched, and by the embedded engine between the steps of a
/// training (every few to some hundred milliseconds, so it should return soon). It is called on a
/// thread that the engine chooses, with the embedded engine possibly a thread of its own, one call
/// at a time, and computes in the mode (rounding, small numbers) of the thread that called the
/// tool. It must not call the tool. An exception cancels too, and with the embedded engine
/// reaches the caller unchanged.
using ProgressReport = std::function<bool(const Progress& progress)>;

/// An image loader that also watches over the call it is given to.
///
/// Requires that it is the very target of the std::function passed as the image loader: wrapped in
/// a lambda it still cancels while images are fetched, but the training does not see it. Of the
/// segmenter's two loaders the one for images counts. An engine that does not know of it calls
/// `report` only while images are fetched.
///
/// A cancelled call throws InvalidOperationException with the text "cancelled by the host".
/// Artifact, model and, with the embedded engine, train cache are then as before the call.
struct TELVAR_TYPES_API MonitoredLoader {
  /// Nothing to load with, nothing to report to.
  MonitoredLoader();
  MonitoredLoader(ImageLoader load, ProgressReport report, unsigned threads = 0);
  TELVAR_TYPES_VALUE_OPERATIONS(MonitoredLoader);

  /// Reports that an image is being fetched, then returns what `load` returns.
  /// Throws InvalidOperationException when the report says so, and whatever the two throw.
  std::shared_ptr<Image> operator()(const std::string& imageId) const;

  /// Calls `report`, if there is one. Throws InvalidOperationException when it returns false.
  void Tell(const Progress& progress) const;

  /// Fetches the images. Empty: std::bad_function_call when one is asked for.
  ImageLoader load;

  /// Takes the progress. Empty: nobody does.
  ProgressReport report;

  /// The most threads that work at the call, its own among them; 0: as many as the process may use.
  /// Holds for Train and BatchProcess: Process takes no loader. No result depends on it. An engine
  /// that does not know of it uses as many as it likes.
  unsigned threads = 0;
};

}  // namespace Orbalt::TelvarWrapper::Types

#pragma once

// The pixel segmenter.
//
//   auto data = std::make_unique<SmartSegmenter::Data>(artifact, trainCache);  // empty: untrained
//   auto segmenter = factory->CreateSmartSegmenterWrapper(std::move(data));
//   segmenter->Train(dataset, loadImage, loadMask);
//   SmartSegmenter::ProcessResult result = segmenter->Process(image, nullptr);
//   store(*segmenter->GetData());

#include <functional>
#include <memory>
#include <string>

#include "TelvarTypes/CommonDataSet.h"
#include "TelvarTypes/Export.h"
#include "TelvarTypes/Image.h"
#include "TelvarTypes/ROI.h"
#include "TelvarTypes/SmartSegmenter.h"

namespace Orbalt::TelvarWrapper::Types {

/// Finds, per pixel, the categories it was trained on.
///
/// Threads: one segmenter must not be used from two threads at once, not even to process; distinct
/// segmenters are independent. Ownership: the segmenter lives as long as the shared pointer that
/// the factory returned; it must not be deleted through this interface. It may outlive the factory.
///
/// The order of the virtual functions is part of the binary interface.
class TELVAR_TYPES_API ISmartSegmenterWrapper {
 public:
  ISmartSegmenterWrapper();
  ISmartSegmenterWrapper(const ISmartSegmenterWrapper&) = default;
  ISmartSegmenterWrapper(ISmartSegmenterWrapper&&) = default;
  ISmartSegmenterWrapper& operator=(const ISmartSegmenterWrapper&) = default;
  ISmartSegmenterWrapper& operator=(ISmartSegmenterWrapper&&) = default;

  /// The current state, to be stored; the segmenter is left as it is.
  /// Throws the engine's own exception, derived from std::exception, or what the stream behind it
  /// throws (std::bad_alloc, std::ios_base::failure), when the train cache cannot be written.
  virtual std::unique_ptr<SmartSegmenter::Data> GetData() const = 0;

  /// Trains from the current state on `dataset` and installs what was learned; images are asked
  /// from `loadImage`, masks from `loadMask`, by their identifiers. Returns how it went. Throws
  /// InvalidArgumentException, the image and region exceptions, the artifact exceptions (a stored
  /// artifact that is damaged, of another tool or too new), InvalidOperationException (any other
  /// failure of the engine), and whatever the loaders throw; artifact and model are then as before,
  /// the train cache may have changed. If only building the model from a new artifact fails,
  /// GetData returns the new artifact while the previous model, if any, stays in use until the next
  /// training.
  virtual SmartSegmenter::TrainingResult Train(
      const SmartSegmenter::Dataset& dataset,
      const std::function<std::shared_ptr<Image>(const std::string&)>& loadImage,
      const std::function<std::shared_ptr<Image>(const std::string&)>& loadMask) = 0;

  /// Segments `image` inside `roi` (null: the whole image). The engine's model is built by the
  /// first call. Requires a non-null `image`, which stays alive and unchanged for the call. Throws
  /// the artifact exceptions (an untrained segmenter included), the image and region exceptions and
  /// InvalidOperationException (any other failure of the engine).
  virtual SmartSegmenter::ProcessResult Process(const std::shared_ptr<Image>& image,
                                                const std::shared_ptr<ROI>& roi) = 0;

  /// Segments every image of a batch; images are asked from `loadImage` by their identifiers.
  /// Throws what `Process` throws, InvalidArgumentException, and whatever `loadImage` throws; the
  /// train cache may have changed.
  virtual SmartSegmenter::ProcessResults BatchProcess(
      const CommonDataSet& dataset,
      const std::function<std::shared_ptr<Image>(const std::string&)>& loadImage) = 0;

 protected:
  ~ISmartSegmenterWrapper() = default;
};

}  // namespace Orbalt::TelvarWrapper::Types

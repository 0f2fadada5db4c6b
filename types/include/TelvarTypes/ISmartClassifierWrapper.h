#pragma once

// The image classifier.
//
//   auto data = std::make_unique<SmartClassifier::Data>(artifact, trainCache);  // empty: untrained
//   auto classifier = factory->CreateSmartClassifierWrapper(std::move(data));
//   classifier->Train(dataset, loadImage);
//   SmartClassifier::Result result = classifier->Process(image);
//   store(*classifier->GetData());

#include <functional>
#include <memory>
#include <string>

#include "TelvarTypes/CommonDataSet.h"
#include "TelvarTypes/Export.h"
#include "TelvarTypes/Image.h"
#include "TelvarTypes/SmartClassifier.h"

namespace Orbalt::TelvarWrapper::Types {

/// Scores whole images against the categories it was trained on.
///
/// Threads: one classifier must not be used from two threads at once, not even to process; distinct
/// classifiers are independent. Ownership: the classifier lives as long as the shared pointer that
/// the factory returned; it must not be deleted through this interface. It may outlive the factory.
///
/// The order of the virtual functions is part of the binary interface.
class TELVAR_TYPES_API ISmartClassifierWrapper {
 public:
  ISmartClassifierWrapper();
  ISmartClassifierWrapper(const ISmartClassifierWrapper&) = default;
  ISmartClassifierWrapper(ISmartClassifierWrapper&&) = default;
  ISmartClassifierWrapper& operator=(const ISmartClassifierWrapper&) = default;
  ISmartClassifierWrapper& operator=(ISmartClassifierWrapper&&) = default;

  /// The current state, to be stored; the classifier is left as it is.
  /// Throws the engine's own exception, derived from std::exception, or what the stream behind it
  /// throws (std::bad_alloc, std::ios_base::failure), when the train cache cannot be written.
  virtual std::unique_ptr<SmartClassifier::Data> GetData() const = 0;

  /// Trains from the current state on `dataset` and installs what was learned; images are asked
  /// from `loadImage` by their identifiers. Returns how it went. Throws InvalidArgumentException,
  /// InvalidLabelException, the image exceptions, the artifact exceptions (a stored artifact that
  /// is damaged, of another tool or too new), InvalidOperationException (any other failure of the
  /// engine), and whatever `loadImage` throws; artifact and model are then as before, the train
  /// cache may have changed. If only building the model from a new artifact fails, GetData returns
  /// the new artifact while the previous model, if any, stays in use until the next training.
  virtual SmartClassifier::TrainingResult Train(
      const SmartClassifier::Dataset& dataset,
      const std::function<std::shared_ptr<Image>(const std::string&)>& loadImage) = 0;

  /// Scores one image. The engine's model is built by the first call.
  /// Requires a non-null `image`, which stays alive and unchanged for the call.
  /// Throws the artifact exceptions (an untrained classifier included), the image exceptions and
  /// InvalidOperationException (any other failure of the engine).
  virtual SmartClassifier::Result Process(std::shared_ptr<Image> image) = 0;

  /// Scores every image of a batch; images are asked from `loadImage` by their identifiers.
  /// Throws what `Process` throws, InvalidArgumentException, and whatever `loadImage` throws; the
  /// train cache may have changed.
  virtual SmartClassifier::SamplesResult BatchProcess(
      const CommonDataSet& dataset,
      const std::function<std::shared_ptr<Image>(const std::string&)>& loadImage) = 0;

 protected:
  ~ISmartClassifierWrapper() = default;
};

}  // namespace Orbalt::TelvarWrapper::Types

#pragma once

// The character reader.
//
//   auto data = std::make_unique<SmartOCR::Data>(artifact, trainCache);  // both empty: untrained
//   std::shared_ptr<ISmartOCRWrapper> reader = factory->CreateSmartOCRWrapper(std::move(data));
//   reader->Train(dataset, loadImage);
//   SmartOCR::ProcessResult read = reader->Process(image, nullptr, {18.0F, 24.0F});
//   store(*reader->GetData());

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/Image.h"
#include "TelvarTypes/ROI.h"
#include "TelvarTypes/SmartOCR.h"

// Lists three overloads so that `first` takes the first virtual slot of the three. The Microsoft
// ABI groups overloads of one name and numbers them in reverse order of declaration.
#if defined(_MSC_VER)
#define TELVAR_TYPES_OVERLOADS_IN_SLOT_ORDER(first, second, third) \
  third;                                                           \
  second;                                                          \
  first
#else
#define TELVAR_TYPES_OVERLOADS_IN_SLOT_ORDER(first, second, third) \
  first;                                                           \
  second;                                                          \
  third
#endif

namespace Orbalt::TelvarWrapper::Types {

/// Reads characters and lines from images, and matches them against patterns.
///
/// Threads: one reader must not be used from two threads at once, not even to process; distinct
/// readers are independent. Ownership: the reader lives as long as the shared pointer that the
/// factory returned; it must not be deleted through this interface. It may outlive the factory.
///
/// The order of the virtual functions is part of the binary interface. Do not declare anything else
/// named `Process` here: it would move the slots.
class TELVAR_TYPES_API ISmartOCRWrapper {
 public:
  ISmartOCRWrapper();
  ISmartOCRWrapper(const ISmartOCRWrapper&) = default;
  ISmartOCRWrapper(ISmartOCRWrapper&&) = default;
  ISmartOCRWrapper& operator=(const ISmartOCRWrapper&) = default;
  ISmartOCRWrapper& operator=(ISmartOCRWrapper&&) = default;

  /// Trains from the current state on `dataset` and installs what was learned; images are asked
  /// from `loadImage` by their identifiers. The engine's model is built anew for the data set's
  /// size. Returns how it went. Throws InvalidArgumentException, InvalidLabelException, the image
  /// and region exceptions, the artifact exceptions (a stored artifact that is damaged, of another
  /// tool or too new), InvalidOperationException (any other failure of the engine), and whatever
  /// `loadImage` throws; artifact and model are then as before, the train cache may have changed.
  /// If only building the model from a new artifact fails, the reader holds the new artifact, which
  /// GetData returns, and the data set's size; at that size the previous model, if any, stays in
  /// use, for any other size a model is built from the new artifact.
  virtual SmartOCR::TrainResult Train(
      const SmartOCR::Dataset& dataset,
      const std::function<std::shared_ptr<Image>(const std::string&)>& loadImage) = 0;

  /// Reads `image` inside `roi` (null: the whole image), expecting characters of about `size`. The
  /// two forms with fielding then match what was read. The engine's model is built by the first
  /// call, and again when `size` moves by 0.0001 or more.
  /// Requires a non-null `image`, which stays alive and unchanged for the call.
  /// Throws the artifact exceptions (an untrained reader included), the image and region
  /// exceptions, InvalidArgumentException (size; see SmartOCR::Size for what the reader holds then)
  /// and InvalidOperationException (any other failure of the engine). With fielding also
  /// InvalidArgumentException "No matching Fielding pattern was found", or "Invalid fielding
  /// pattern caused by empty lines or empty patterns" for every other failure of fielding, want of
  /// memory included; no result is returned then.
  TELVAR_TYPES_OVERLOADS_IN_SLOT_ORDER(
      virtual SmartOCR::ProcessResult Process(std::shared_ptr<Image> image,
                                              const std::shared_ptr<ROI>& roi,
                                              const SmartOCR::Size& size,
                                              const SmartOCR::AdvancedFielding& fielding) = 0,
      virtual SmartOCR::ProcessResult Process(std::shared_ptr<Image> image,
                                              const std::shared_ptr<ROI>& roi,
                                              const SmartOCR::Size& size,
                                              const SmartOCR::BasicFielding& fielding) = 0,
      virtual SmartOCR::ProcessResult Process(std::shared_ptr<Image> image,
                                              const std::shared_ptr<ROI>& roi,
                                              const SmartOCR::Size& size) = 0);

  /// Groups points (x, y) into lines of text. `height` is the nominal character height in the
  /// points' unit. Returns positions in `points`: lines top to bottom, points of a line left to
  /// right, every position once.
  /// Throws the engine's own exception, derived from std::exception, when a point or `height` is
  /// not finite, or `height` is not positive.
  virtual std::vector<std::vector<std::uint64_t>> SortCharacters(
      const std::vector<std::pair<float, float>>& points, float height) = 0;

  /// The current state, to be stored; the reader is left as it is.
  /// Throws the engine's own exception, derived from std::exception, or what the stream behind it
  /// throws (std::bad_alloc, std::ios_base::failure), when the train cache cannot be written.
  virtual std::unique_ptr<SmartOCR::Data> GetData() const = 0;

 protected:
  ~ISmartOCRWrapper() = default;
};

}  // namespace Orbalt::TelvarWrapper::Types

#undef TELVAR_TYPES_OVERLOADS_IN_SLOT_ORDER

#pragma once

// The records of the character reader: its state, its sizes and its results. The records are plain
// values that check nothing; distinct objects may be used from distinct threads. Meanings given for
// values are the embedded engine's.

#include <string>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/SmartOCRFielding.h"
#include "TelvarTypes/SmartOCRSample.h"
#include "TelvarTypes/SmartOCRTraining.h"

namespace Orbalt::TelvarWrapper::Types::SmartOCR {

/// The tool's whole state, the unit in which a host stores it. A tool that was never trained has
/// two empty strings. Both strings hold arbitrary bytes that only the engine understands.
class TELVAR_TYPES_API Data {
 public:
  Data(const std::string& artifact, const std::string& trainCache);
  Data(const Data&);
  Data(Data&&) noexcept;
  Data& operator=(const Data&);
  Data& operator=(Data&&) noexcept;
  virtual ~Data();

  /// The trained artifact: all that processing needs. Empty: never trained.
  std::string artifact;

  /// The train cache: makes the next training cheaper, changes no result, and may be dropped. One
  /// that cannot be loaded is replaced by an empty cache without a word.
  std::string trainCache;
};

/// Nominal size of a character in the image or region to read. The embedded engine takes 4 to 4096
/// pixels a side, the sides at most 8-fold different; anything else is InvalidArgumentException
/// from the call that brings it. Do not repeat that call: the reader holds a finite size even when
/// it was refused, and answers it from then on with the model of the size before, if there was one.
struct TELVAR_TYPES_API Size {
  Size();
  Size(float width, float height);
  TELVAR_TYPES_VALUE_OPERATIONS(Size);

  /// Region pixels.
  float width = 0.0F;

  /// Region pixels.
  float height = 0.0F;
};

/// The outcome of reading one image.
struct TELVAR_TYPES_API ProcessResult {
  ProcessResult();
  ProcessResult(double processingTime, Sample sample = {}, FieldingResult fieldingResult = {});
  TELVAR_TYPES_VALUE_OPERATIONS(ProcessResult);

  /// Time the engine spent, whole milliseconds, rounded toward zero.
  double processingTime = 0.0;

  /// What was read.
  Sample sample;

  /// What the asked fielding made of it; default-constructed when none was asked for.
  FieldingResult fieldingResult;
};

}  // namespace Orbalt::TelvarWrapper::Types::SmartOCR

#pragma once

#include <string>
#include <utility>

#include "TelvarTypes/CommonDataSet.h"
#include "telvar_msg/common.pb.h"

namespace Orbalt::TelvarWrapper::Wrapper {

/// Adds one sample under its key; an entry that is already there is overwritten.
void AddCommonSample(telvar_msg::common::Dataset& dataset,
                     std::pair<std::string, Types::CommonSample> entry);

/// The message for a whole batch, for callers that keep messages; the tools send it serialised.
/// Nothing is checked: empty keys, identifiers and batches are the engine's to reject.
telvar_msg::common::Dataset ConvertCommonDataset(const Types::CommonDataSet& dataset);

/// The same message in serialised form, made such that no failing allocation does harm.
std::string SerializeCommonDataset(const Types::CommonDataSet& dataset);

}  // namespace Orbalt::TelvarWrapper::Wrapper

// Files of a data set that cannot be read.
#pragma once

#include <string>
#include <vector>

#include "app/errors.h"
#include "app/progress.h"
#include "datasets/classifier_data.h"
#include "datasets/ocr_data.h"
#include "datasets/segmenter_data.h"

namespace telvar_host {

// Opens the image (and masks) of every item and removes the items of which one cannot be read.
// Returns why, a line each.
std::vector<std::string> remove_unreadable(ClassifierData& data, Progress& progress);
std::vector<std::string> remove_unreadable(SegmenterData& data, Progress& progress);
std::vector<std::string> remove_unreadable(OcrData& data, Progress& progress);

// The error that names the files, up to ten; `advice` stands behind their number.
HostError unreadable(const std::vector<std::string>& reasons, const std::string& advice);

// Returns what `use` does, which reads the files of `data`. Where it fails at one of them, the
// error names all that cannot be read.
template <typename Data, typename Use>
auto naming_all_unreadable(const Data& data, Progress& progress, const std::string& advice,
                           const Use& use) {
  try {
    return use();
  } catch (const HostError& error) {
    if (error.code() != ExitCode::kBadData) throw;
    auto looked_at = data;
    const auto reasons = remove_unreadable(looked_at, progress);
    if (reasons.empty()) throw;
    throw unreadable(reasons, advice);
  }
}

}  // namespace telvar_host

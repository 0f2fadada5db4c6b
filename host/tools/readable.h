// Files of a data set that cannot be read.
#pragma once

#include <functional>
#include <string>
#include <vector>

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

}  // namespace telvar_host

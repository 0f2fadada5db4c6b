// Predictions as labels, to be corrected and trained on.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/json.h"
#include "app/region.h"
#include "app/tool_kind.h"
#include "files/output.h"

namespace telvar_host {

struct PredictedImage {
  std::filesystem::path file;
  Json json;  // see json_of(Prediction); the segmenter's categories with the file of each "mask"
};

struct LabelSettings {
  ToolKind tool = ToolKind::kClassifier;
  std::string format;            // "dataset", "labelme" or "coco"
  std::optional<Region> region;  // of the predictions
  NominalSize size;              // ocr
};

// The places of the images whose certainty is below `limit` (all without one), the lowest first.
// Images without a prediction are left out.
std::vector<std::size_t> least_certain(const std::vector<PredictedImage>& images,
                                       const std::optional<double>& limit);

// Writes the chosen images and their predictions as labels into `folder` of `out`. `read_mask`
// gives the bytes of a mask's file. Throws data_error naming a category that cannot be a folder's
// name where one is needed.
void write_labels(const std::vector<PredictedImage>& images, const std::vector<std::size_t>& chosen,
                  const LabelSettings& settings,
                  const std::function<std::string(const std::string&)>& read_mask,
                  OutputFolder& out, const std::string& folder);

}  // namespace telvar_host

// How well a trained segmenter does on images with masks.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/json.h"
#include "datasets/segmenter_data.h"
#include "library/session.h"
#include "metrics/overlap.h"
#include "metrics/timing.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {

// An image with at least one wrong pixel.
struct SegmenterMistake {
  SegmenterItem item;
  double mean_iou = 0;  // over the categories in the image's truth or answer
  std::uint64_t wrong_pixels = 0;
  std::map<std::string, std::string> answer;  // PNG, 255 where found; only for a report
};

struct SegmenterEvaluation {
  std::size_t images = 0;
  std::map<std::string, Overlap> overlap;  // by category of data or model, over all images
  std::vector<SegmenterMistake> mistakes;  // lowest mean IoU first
  Timing timing;

  // Over the categories that have a pixel in truth or answer; empty when none has.
  std::optional<double> mean_iou(int threshold = 128) const;
};

// Pixels count as found from probability 128 of 255. Throws data_error for an unreadable image or
// mask and for a mask of another size than its image. The answers that are wrong are kept only
// for a report.
SegmenterEvaluation evaluate(SegmenterTool& tool, const SegmenterData& data, Progress& progress,
                             bool with_report);

// 255 where a mask of the item says so; all zero when it has none. Throws as above.
cv::Mat truth_of(const SegmenterItem& item, const std::string& category, const cv::Size& size);

// mean_iou (null when no category occurs), iou (null for a category that occurs nowhere), counts,
// milliseconds_median, milliseconds_p95, mistakes.
Json json_of(const SegmenterEvaluation& evaluation);

}  // namespace telvar_host

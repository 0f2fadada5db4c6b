#pragma once

// What the character reader learns from, and how training went.
//
//   // Centres x, y and labels, the image's identifier; then the nominal character size.
//   TrainData page{{{31.5, 20.0, "A"}, {52.0, 20.0, "B"}}, "page1.png"};
//   Dataset dataset{18.0, 24.0, {page}};

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "TelvarTypes/Export.h"
#include "TelvarTypes/ROI.h"

namespace Orbalt::TelvarWrapper::Types::SmartOCR {

/// The label of one character. Values are narrowed to single precision.
struct TELVAR_TYPES_API TrainDataAssignment {
  TrainDataAssignment();
  TrainDataAssignment(double firstValue, double secondValue = 0.0, std::string categoryId = {});
  TELVAR_TYPES_VALUE_OPERATIONS(TrainDataAssignment);

  /// Horizontal position of the character's centre, region pixels (image pixels without a region).
  double firstValue = 0.0;

  /// Vertical position of the character's centre, region pixels (image pixels without a region).
  double secondValue = 0.0;

  /// The character's category, usually the character itself in UTF-8. Any bytes, at
  /// least one.
  std::string categoryId;
};

/// One labelled image.
struct TELVAR_TYPES_API TrainData {
  TrainData();
  TrainData(std::vector<TrainDataAssignment> assignments, std::string imageId = {},
            std::shared_ptr<ROI> roi = nullptr);
  TELVAR_TYPES_VALUE_OPERATIONS(TrainData);

  /// The labels, in reading order. Not every character of the image needs one. An image without
  /// any label is left out of the training.
  std::vector<TrainDataAssignment> assignments;

  /// What the image loader is asked for. Any bytes; of two images with one identifier the later
  /// replaces the earlier.
  std::string imageId;

  /// The part of the image that the labels are about; null: the whole image.
  std::shared_ptr<ROI> roi;
};

/// The labelled images of one training. Values are narrowed to single precision.
struct TELVAR_TYPES_API Dataset {
  Dataset();
  Dataset(double width, double height = 0.0, std::vector<TrainData> trainData = {});
  TELVAR_TYPES_VALUE_OPERATIONS(Dataset);

  /// Nominal character width, region pixels.
  double width = 0.0;

  /// Nominal character height, region pixels.
  double height = 0.0;

  /// The images. The order does not matter but for repeated identifiers.
  std::vector<TrainData> trainData;
};

/// How a training went.
struct TELVAR_TYPES_API TrainResult {
  TrainResult();
  TrainResult(double trainingTime, double resultValue = 0.0,
              std::shared_ptr<std::map<std::string, std::shared_ptr<std::vector<float>>>>
                  labeledSampleResults = nullptr);
  TELVAR_TYPES_VALUE_OPERATIONS(TrainResult);

  /// Time the engine spent, whole milliseconds, rounded toward zero.
  double trainingTime = 0.0;

  /// Share of labels read right, 0..1: as the labelled category, within 0.42 of a nominal
  /// character, on images that the network which read them had not learned from. With 8 or more new
  /// images, of every fourth, held out of the first stage of the training; the second stage learns
  /// from them too, so that the figure is cautious. With fewer, of all new ones: two halves are
  /// each read by a network that learned from the rest. Less than 0 where no image was new to the
  /// tool, or there was one only: its size is then the share read right of what the finished
  /// network has learned from.
  double resultValue = 0.0;

  /// Per image identifier, in ascending byte order: for each of the image's labels, in their order,
  /// detection strength times score of the labelled category, 0..1, of the character that the
  /// finished network reads nearest to the label; 0 when it reads none within 0.42 of a character.
  /// Neither the map nor a vector is null in a result of `Train`; null in a default-constructed
  /// record.
  std::shared_ptr<std::map<std::string, std::shared_ptr<std::vector<float>>>> labeledSampleResults;
};

}  // namespace Orbalt::TelvarWrapper::Types::SmartOCR

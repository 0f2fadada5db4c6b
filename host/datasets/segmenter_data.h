// Images with masks for the segmenter.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>
#include <vector>

#include "datasets/layout.h"
#include "datasets/mask_colours.h"
#include "datasets/problems.h"

namespace telvar_host {

// Where one category's mask comes from: a file whose non-zero pixels belong, or the pixels of a
// file that hold one class index.
struct MaskSource {
  std::filesystem::path file;
  std::optional<int> class_index = {};
  std::shared_ptr<const ColourIndexes> colours = {};  // of indexes that are shown as colours
};

struct SegmenterItem {
  std::string id;
  std::filesystem::path file;
  std::map<std::string, MaskSource> masks;  // by category; none means none of it in the image
  bool for_training = true;
};

struct SegmenterData {
  std::vector<std::string> categories;           // sorted
  std::vector<SegmenterItem> items;              // sorted by id
  std::map<int, std::string> classes;            // of index masks; empty for a folder per category
  std::string class_list;                        // the name of the file that lists these
  std::shared_ptr<const ColourIndexes> colours;  // of these, where masks show colours
};

// Reads images/ with masks/<category>/NAME.png or masks/NAME.png + classes.txt or labelmap.txt
// (which may also lie one folder up). Structural faults go to `problems`. Throws data_error when
// there is nothing.
SegmenterData read_segmenter_data(const std::filesystem::path& source, Purpose purpose,
                                  Problems& problems);

// 8-bit, 255 where the pixel belongs. Throws data_error for an unreadable mask or one that is not
// single channel.
cv::Mat read_mask(const MaskSource& source);

// A file of class indexes as such, whether it holds them or their colours; any other mask as it is.
cv::Mat as_indexes(const cv::Mat& stored, const std::shared_ptr<const ColourIndexes>& colours);

// What to say of a mask that has more than one channel.
std::string wrong_mask_channels(const cv::Mat& mask);

// Lines `INDEX NAME`, each index and name once; 0 is the background and no category. Throws
// data_error naming the line.
std::map<int, std::string> parse_classes(const std::string& text, const std::string& name);

}  // namespace telvar_host

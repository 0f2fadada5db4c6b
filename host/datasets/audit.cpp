#include "datasets/audit.h"

#include <algorithm>
#include <opencv2/core.hpp>
#include <set>
#include <unordered_map>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"
#include "datasets/unused.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

// The reason without the path that the list shows beside it.
std::string reason(const std::string& message, const std::string& path) {
  const auto prefix = path + ": ";
  return message.compare(0, prefix.size(), prefix) == 0 ? message.substr(prefix.size()) : message;
}

std::uint64_t digest(const cv::Mat& image) {
  const int header[] = {image.rows, image.cols, image.type()};
  std::uint64_t hash = XXH64(header, sizeof header, 0);
  for (int y = 0; y < image.rows; ++y) {
    hash = XXH64(image.ptr(y), image.elemSize() * static_cast<std::size_t>(image.cols), hash);
  }
  return hash;
}

// Opens images, and notes which cannot be read and which are there twice.
class ImageCheck {
 public:
  ImageCheck(Problems& problems, Progress& progress) : problems_(problems), progress_(progress) {}

  // Empty when the file cannot be read.
  cv::Mat open(const fs::path& file) {
    cv::Mat image;
    try {
      image = read_image(file);
    } catch (const HostError& error) {
      problems_.add(utf8(file), "unreadable", reason(error.what(), utf8(file)));
    }
    progress_.step();
    if (image.empty()) return image;
    const auto [first, fresh] = seen_.emplace(digest(image), file);
    if (!fresh) problems_.add(utf8(file), "duplicate", "has the pixels of " + utf8(first->second));
    return image;
  }

 private:
  Problems& problems_;
  Progress& progress_;
  std::unordered_map<std::uint64_t, fs::path> seen_;
};

// Counts the samples of each category: all of them, and those that training takes.
class Tally {
 public:
  explicit Tally(Audit& audit) : audit_(audit) {}

  template <typename Item>
  void add(const std::string& category, const Item& item) {
    ++audit_.counts[category];
    if (!item.for_training) return;
    auto& training = training_[category];
    ++training.count;
    training.file = item.file;
  }

  std::size_t training_categories() const { return training_.size(); }

  void report_single_samples(const std::string& what, const Categories& known,
                             Problems& report) const {
    for (const auto& [category, training] : training_) {
      if (training.count != 1 || known.count(category) != 0) continue;
      report.add(utf8(training.file), "single_sample",
                 "is the only " + what + " to train '" + category + "' with");
    }
  }

 private:
  struct Training {
    std::size_t count = 0;
    fs::path file;  // of one of them
  };

  Audit& audit_;
  std::map<std::string, Training> training_;
};

// Reports categories that look alike: most are one category, written in two ways.
void report_alike(const fs::path& source, Audit& audit) {
  std::map<std::string, std::string> first;
  for (const auto& entry : audit.counts) {
    const auto [alike, fresh] = first.emplace(look_of(entry.first), entry.first);
    if (fresh) continue;
    audit.problems.add(utf8(source), "alike",
                       "the category '" + entry.first + "' looks like '" + alike->second + "'");
  }
}

// Reports what stands in the folder and is neither among the `used` files nor already a problem.
void report_rest(const fs::path& source, std::vector<fs::path> used, Audit& audit) {
  for (const auto& problem : audit.problems.list()) used.push_back(path_from_utf8(problem.path));
  report_unused(source, used, audit.unused);
}

void check_mask_values(const cv::Mat& mask, const SegmenterData& data, const std::string& path,
                       Problems& problems) {
  cv::Mat known = mask == 0;
  for (const auto& entry : data.classes) known |= mask == entry.first;
  const auto unknown = mask.total() - static_cast<std::size_t>(cv::countNonZero(known));
  if (unknown == 0) return;
  double value = 0;
  cv::minMaxLoc(mask, nullptr, &value, nullptr, nullptr, known == 0);
  problems.add(path, "mask_value",
               "has " + counted(unknown, "pixel") + " of no class in " + data.class_list +
                   ", such as " +
                   (value == kNoClass ? std::string("of a colour that is no class's")
                                      : std::to_string(static_cast<int>(value))));
}

// Opens a mask once, whatever the number of categories it serves. Empty when it is of no use.
cv::Mat open_mask(const fs::path& file, const cv::Size& expected, const SegmenterData& data,
                  Problems& problems) {
  const auto path = utf8(file);
  cv::Mat mask;
  try {
    mask = as_indexes(read_image(file), data.colours);
  } catch (const HostError& error) {
    problems.add(path, "unreadable", reason(error.what(), path));
    return {};
  }
  if (mask.channels() != 1) {
    problems.add(path, "mask_channels", wrong_mask_channels(mask));
    return {};
  }
  if (expected.area() > 0 && mask.size() != expected) {
    problems.add(path, "mask_size",
                 "is " + std::to_string(mask.cols) + " x " + std::to_string(mask.rows) +
                     ", its image " + std::to_string(expected.width) + " x " +
                     std::to_string(expected.height));
    return {};
  }
  if (!data.classes.empty()) check_mask_values(mask, data, path, problems);
  return mask;
}

void check_masks(const SegmenterItem& item, const cv::Size& size, const SegmenterData& data,
                 Tally& tally, Problems& problems) {
  std::map<fs::path, cv::Mat> masks;
  for (const auto& [category, source] : item.masks) {
    if (masks.count(source.file) == 0) {
      masks[source.file] = open_mask(source.file, size, data, problems);
    }
    const auto& mask = masks[source.file];
    if (mask.empty()) continue;
    const cv::Mat belongs = source.class_index ? cv::Mat(mask == *source.class_index) : mask;
    if (cv::countNonZero(belongs) > 0) tally.add(category, item);
  }
}

void check_marks(const OcrItem& item, const cv::Mat& image, Tally& tally, Problems& problems) {
  std::set<std::pair<double, double>> places;
  for (const auto& mark : item.characters) {
    tally.add(mark.category, item);
    const auto place = "(" + fixed(mark.x, 1) + ", " + fixed(mark.y, 1) + ")";
    if (!places.emplace(mark.x, mark.y).second) {
      problems.add(utf8(item.file), "duplicate", "has two labels at " + place);
    }
    const bool outside =
        std::min(mark.x, mark.y) < -0.5 || mark.x > image.cols - 0.5 || mark.y > image.rows - 0.5;
    if (outside && !image.empty()) {
      problems.add(utf8(item.file), "outside",
                   "has the label '" + mark.category + "' outside the image, at " + place);
    }
  }
}

}  // namespace

Audit audit_classifier(const fs::path& source, const Categories& known, Progress& progress) {
  Audit audit;
  Tally tally(audit);
  const auto data = read_classifier_data(source, Purpose::kAll, audit.problems);
  ImageCheck images(audit.problems, progress);
  std::vector<fs::path> used;
  progress.start("checking", data.items.size());
  for (const auto& item : data.items) {
    tally.add(item.category, item);
    images.open(item.file);
    used.push_back(item.file);
  }
  audit.images = data.items.size();
  tally.report_single_samples("image", known, audit.problems);
  if (known.empty() && tally.training_categories() == 1) {
    audit.problems.add(utf8(source), "single_category", "holds one category; training needs two");
  }
  report_alike(source, audit);
  report_rest(source, std::move(used), audit);
  return audit;
}

Audit audit_segmenter(const fs::path& source, const Categories& known, Progress& progress) {
  Audit audit;
  Tally tally(audit);
  const auto data = read_segmenter_data(source, Purpose::kAll, audit.problems);
  for (const auto& category : data.categories) audit.counts[category] = 0;
  ImageCheck images(audit.problems, progress);
  std::vector<fs::path> used;
  progress.start("checking", data.items.size());
  for (const auto& item : data.items) {
    const auto image = images.open(item.file);
    check_masks(item, image.size(), data, tally, audit.problems);
    used.push_back(item.file);
    for (const auto& mask : item.masks) used.push_back(mask.second.file);
  }
  audit.images = data.items.size();
  for (const auto& [category, count] : audit.counts) {
    if (count == 0) {
      audit.problems.add(utf8(source), "empty_category",
                         "no mask shows the category '" + category + "'");
    }
  }
  tally.report_single_samples("image", known, audit.advice);
  report_alike(source, audit);
  report_rest(source, std::move(used), audit);
  return audit;
}

Audit audit_ocr(const fs::path& source, const Categories& known, Progress& progress) {
  Audit audit;
  Tally tally(audit);
  const auto data = read_ocr_data(source, Purpose::kAll, audit.problems);
  ImageCheck images(audit.problems, progress);
  std::vector<fs::path> used;
  progress.start("checking", data.items.size());
  cv::Mat image;  // of the file that was met last: one may have several labelled regions in a row
  for (const auto& item : data.items) {
    if (used.empty() || used.back() != item.file) {
      image = images.open(item.file);
      used.push_back(item.file);
    }
    if (item.characters.empty() && item.lines.empty()) {
      audit.problems.add(utf8(item.file), "empty_label", "has neither characters nor text");
    }
    check_marks(item, image, tally, audit.problems);
  }
  audit.images = data.items.size();
  tally.report_single_samples("place with a character", known, audit.advice);
  report_alike(source, audit);
  report_rest(source, std::move(used), audit);
  return audit;
}

}  // namespace telvar_host

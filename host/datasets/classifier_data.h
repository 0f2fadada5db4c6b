// Labelled images for the classifier: a folder per category, or a CSV `file,category`.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "datasets/layout.h"
#include "datasets/problems.h"

namespace telvar_host {

struct ClassifierItem {
  std::string id;  // path relative to the data set
  std::filesystem::path file;
  std::string category;
  bool for_training = true;
};

struct ClassifierData {
  std::vector<ClassifierItem> items;  // sorted by id
};

// `source` is a folder, or a CSV file. What is wrong without opening an image (missing file, empty
// label or category) goes to `problems`; the rest is still read. Throws data_error when there is
// nothing.
ClassifierData read_classifier_data(const std::filesystem::path& source, Purpose purpose,
                                    Problems& problems);

}  // namespace telvar_host

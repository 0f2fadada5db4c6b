// Looking at every file of a data set.
#pragma once

#include <map>
#include <set>
#include <string>

#include "app/progress.h"
#include "datasets/classifier_data.h"
#include "datasets/ocr_data.h"
#include "datasets/problems.h"
#include "datasets/segmenter_data.h"

namespace telvar_host {

struct Audit {
  std::size_t images = 0;
  // Per category: images of it (classifier, segmenter) or marks of it (ocr).
  std::map<std::string, std::size_t> counts;
  Problems problems;
  // What more labels would help: no fault.
  Problems advice;
  // Images, and links to folders, that lie in the folder but are not used: no fault by itself.
  Problems unused;
};

// Each reads the data set's structure, then opens every file: unreadable images, images that
// are the same pixel by pixel, masks of another size or with unknown values, marks outside the
// image. Categories with one sample to train on are a fault where a training refuses
// them (classifier), and advice elsewhere. Throws data_error when there is no such data
// set at all.
//
// `known` are the categories of the state that a training would go on from: one sample is enough of
// these, and one category beside them.
using Categories = std::set<std::string>;
Audit audit_classifier(const std::filesystem::path& data, const Categories& known,
                       Progress& progress);
Audit audit_segmenter(const std::filesystem::path& data, const Categories& known,
                      Progress& progress);
Audit audit_ocr(const std::filesystem::path& data, const Categories& known, Progress& progress);

}  // namespace telvar_host

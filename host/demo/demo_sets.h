// The data sets of the demonstration, made from what Debian packages hold.
#pragma once

#include <TelvarTypes/SmartOCRFielding.h>

#include <filesystem>
#include <string>

#include "files/output.h"

namespace telvar_host {

struct DemoSources {
  // Where usr/share/... of the packages lies; "/" once they are installed.
  std::filesystem::path root = "/";
  // The project's labels: segmenter_discs/{train,test}/masks.
  std::filesystem::path labels;
};

struct ImageCounts {
  std::size_t train = 0;
  std::size_t test = 0;
};

// The labels beside the installed program or in the source tree it was built in. Throws data_error.
std::filesystem::path default_labels();

// Each writes a data set with train/ and test/ below `folder` in `out`. Throws data_error naming
// the package to install when its files are not there.

// dataset-fashion-mnist: the first images of each of 10 classes, of its two files; the counts are
// those of a class.
void write_fashion(const DemoSources& sources, const std::string& folder, const ImageCounts& counts,
                   OutputFolder& out);

// visp-images-data, sequence mire-2: of its 40 frames to train and 40 later ones to test so many.
void write_discs(const DemoSources& sources, const std::string& folder, const ImageCounts& counts,
                 OutputFolder& out);

// visp-images-data: lot numbers and dates as a dot-matrix printer sets them, drawn on pieces of its
// photographs. Those that train and those that test are of different scenes. Every character is
// marked, and its text is known.
void write_codes(const DemoSources& sources, const std::string& folder, const ImageCounts& counts,
                 OutputFolder& out);
// What is known about such a code: four letters and four digits above a date.
Orbalt::TelvarWrapper::Types::SmartOCR::AdvancedFielding code_patterns();

}  // namespace telvar_host

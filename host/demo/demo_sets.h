// The data sets of the demonstration, made from what Debian packages hold.
#pragma once

#include <filesystem>
#include <string>

#include "files/output.h"

namespace telvar_host {

struct DemoSources {
  // Where usr/share/... of the packages lies; "/" once they are installed.
  std::filesystem::path root = "/";
  // The project's labels: ocr_typewriter/chars.tsv, segmenter_discs/{train,test}/masks.
  std::filesystem::path labels;
};

// The labels beside the installed program or in the source tree it was built in. Throws data_error.
std::filesystem::path default_labels();

// Each writes a data set with train/ and test/ below `folder` in `out`. Throws data_error naming
// the package to install when its files are not there.

// dataset-fashion-mnist: the first 200 pictures of each of 10 classes to train, the first 100 of
// the test file's to test.
void write_fashion(const DemoSources& sources, const std::string& folder, OutputFolder& out);

// visp-images-data, sequence mire-2: 40 frames to train, 40 later ones to test.
void write_discs(const DemoSources& sources, const std::string& folder, OutputFolder& out);

struct LetterSplit {
  std::size_t train = 0;  // marks
  std::size_t test = 0;
  std::size_t left_out = 0;  // test marks of kinds with fewer than three training marks
};

// jbigkit-testdata, a scanned letter, of which some characters are marked: the marks of every third
// line test, the others train. Needs jbgtopbm of jbigkit-bin.
LetterSplit write_letter(const DemoSources& sources, const std::string& folder, OutputFolder& out);

}  // namespace telvar_host

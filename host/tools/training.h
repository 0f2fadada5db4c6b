// Training any of the three tools from a data set on disk.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "files/state_file.h"
#include "library/session.h"

namespace telvar_host {

struct TrainingRun {
  StateFile state;
  double score = 0;  // what the tool reports, 0..1; less than 0: nothing could be held out
  double seconds = 0;
  std::size_t images = 0;
  std::vector<std::string> skipped;           // files that cannot be read
  std::map<std::string, std::size_t> counts;  // images (ocr: characters) by category
};

struct TrainingSettings {
  std::optional<NominalSize> size;  // ocr
  bool skip_bad = false;            // leave out images and masks that cannot be read
};

// Trains from `from` (empty strings: from nothing). Without a size the reader takes that of
// the labels, that of `from`, then the median box of the labels. Throws data_error for a data set
// with faults, before anything is trained.
TrainingRun run_training(Session& session, const std::filesystem::path& data, const StateFile& from,
                         const TrainingSettings& settings = {});

// What the score of a training stands for (docs/engine.md), in words.
std::string measured_on(ToolKind tool, double score);

}  // namespace telvar_host

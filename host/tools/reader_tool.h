// The character reader as this program uses it.
#pragma once

#include <TelvarTypes/ISmartOCRWrapper.h>

#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "app/interrupt.h"
#include "app/region.h"
#include "app/tool_kind.h"
#include "datasets/ocr_data.h"
#include "files/state_file.h"
#include "library/session.h"

namespace telvar_host {

using BasicFielding = Types::SmartOCR::BasicFielding;
using AdvancedFielding = Types::SmartOCR::AdvancedFielding;
using Fielding = std::variant<std::monostate, BasicFielding, AdvancedFielding>;

// A character with its best category, positions in region pixels.
struct ReadCharacter {
  double x = 0;
  double y = 0;
  double strength = 0;  // detection, 0..1
  std::string category;
  double score = 0;
};

struct ReadLine {
  std::string text;
  std::vector<std::size_t> characters;  // positions in Reading::characters, reading order
};

struct Reading {
  std::vector<ReadCharacter> characters;
  std::vector<ReadLine> lines;
  std::string pattern;  // that matched, with fielding
  double mean_score = 0;
  double lowest_score = 0;

  std::vector<std::string> texts() const;
};

class ReaderTool {
 public:
  ReaderTool(Session& session, const StateFile& state);

  // Returns the engine's result value. `size` becomes that of the state.
  double train(const OcrData& data, const NominalSize& size, Progress& progress,
               const StopRequest& stop);
  // With fielding the fielded sample is returned.
  Reading process(const cv::Mat& image, const std::optional<Region>& region,
                  const NominalSize& size, const Fielding& fielding = {});
  // Points to lines of indexes; `height` is the nominal character height in the points' unit.
  std::vector<std::vector<std::size_t>> sort(const std::vector<std::pair<float, float>>& points,
                                             float height);
  StateFile state() const;

 private:
  std::shared_ptr<Types::ISmartOCRWrapper> tool_;
  NominalSize size_;
};

}  // namespace telvar_host

// One picture through any of the three tools.
#pragma once

#include <map>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <string>

#include "app/errors.h"
#include "app/json.h"
#include "library/session.h"
#include "tools/reader_tool.h"

namespace telvar_host {

struct ProcessSettings {
  std::optional<Region> region;
  NominalSize size;
  Fielding fielding;
};

struct ProcessedItem {
  Json json;
  std::string text;  // for people; ends with a line end
  cv::Mat annotated;
  std::map<std::string, cv::Mat> maps;  // segmenter: probability by category
  ExitCode code = ExitCode::kOk;
  bool failed() const { return code != ExitCode::kOk; }
};

class Processor {
 public:
  virtual ~Processor() = default;
  virtual ProcessedItem process(const cv::Mat& picture) = 0;
};

std::unique_ptr<Processor> make_processor(Session& session, const StateFile& state,
                                          const ProcessSettings& settings);

// Reads and processes one file. What is wrong with this picture alone (unreadable, refused, no
// pattern matches) is said in the item; other exceptions pass.
ProcessedItem processed(Processor& processor, const std::string& image);

}  // namespace telvar_host

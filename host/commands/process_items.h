// One picture through any of the three tools.
#pragma once

#include <map>
#include <memory>
#include <opencv2/core/mat.hpp>
#include <optional>
#include <set>
#include <string>

#include "app/session.h"
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

// A category as part of a file name: what file systems refuse becomes "_".
std::string file_name_of(const std::string& category);

// The same for a whole run: categories that become alike ("a/b", "a:b") get a number each.
class CategoryFileNames {
 public:
  const std::string& of(const std::string& category);

 private:
  std::map<std::string, std::string> names_;  // by category
  std::set<std::string> used_;
};

}  // namespace telvar_host

// Answers the library's requests for pictures from files.
#pragma once

#include <TelvarTypes/Image.h>

#include <filesystem>
#include <memory>
#include <string>
#include <unordered_map>

#include "app/progress.h"

namespace telvar_host {

class FileLoader {
 public:
  explicit FileLoader(Progress& progress) : progress_(progress) {}
  // Throws data_error for an id that was added before: one of the two would be lost.
  void add(const std::string& id, const std::filesystem::path& file);
  std::size_t size() const { return files_.size(); }

  // Reads the picture and counts it. Throws data_error naming the file.
  std::shared_ptr<Orbalt::TelvarWrapper::Types::Image> load(const std::string& id) const;

 private:
  Progress& progress_;
  std::unordered_map<std::string, std::filesystem::path> files_;
};

}  // namespace telvar_host

// Answers the library's requests for images from files.
#pragma once

#include <TelvarTypes/MonitoredLoader.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "app/interrupt.h"
#include "app/progress.h"

namespace telvar_host {

class FileLoader {
 public:
  FileLoader(Progress& progress, const StopRequest& stop) : progress_(progress), stop_(stop) {}
  // Throws data_error for an id that was added before: one of the two would be lost.
  void add(const std::string& id, const std::filesystem::path& file);
  std::size_t size() const { return files_.size(); }

  // Reads the image and counts it. Throws data_error naming the file.
  std::shared_ptr<Orbalt::TelvarWrapper::Types::Image> load(const std::string& id) const;

  // For the library: shows how a training goes on, and cancels it when a stop is requested.
  Orbalt::TelvarWrapper::Types::MonitoredLoader monitored() const;

 private:
  Progress& progress_;
  const StopRequest& stop_;
  std::unordered_map<std::string, std::filesystem::path> files_;
};

// Calls `train`, which an interrupt cancels. Throws HostError with the interrupt's exit code then.
double interruptible(const std::function<double(const StopRequest& stop)>& train);

}  // namespace telvar_host

#include "tools/loading.h"

#include <TelvarTypes/Exceptions.h>

#include "app/errors.h"
#include "images/read_image.h"
#include "library/records.h"

namespace telvar_host {

void FileLoader::add(const std::string& id, const std::filesystem::path& file) {
  if (!files_.emplace(id, file).second) throw data_error(id + ": stands twice in the data set");
}

std::shared_ptr<Types::Image> FileLoader::load(const std::string& id) const {
  const auto file = files_.find(id);
  if (file == files_.end()) throw failure("the library asked for an unknown image '" + id + "'");
  auto image = to_image(read_image(file->second));
  progress_.step();
  return image;
}

Types::MonitoredLoader FileLoader::monitored() const {
  const auto report = [this](const Types::Progress& progress) {
    progress_.advance(progress.fraction, progress.score);
    return !stop_.requested();
  };
  return {[this](const std::string& id) { return load(id); }, report};
}

double interruptible(const std::function<double(const StopRequest& stop)>& train) {
  // The program is ended when a training does not stop by itself: nothing is lost by that.
  const StopRequest stop(std::chrono::seconds(3));
  try {
    return train(stop);
  } catch (const Orbalt::TelvarWrapper::InvalidOperationException&) {
    if (!stop.requested()) throw;
    throw HostError(static_cast<ExitCode>(stop.exit_code()),
                    "interrupted: the training is cancelled, nothing was changed");
  }
}

}  // namespace telvar_host

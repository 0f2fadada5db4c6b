#include "TelvarTypes/MonitoredLoader.h"

#include <utility>

#include "TelvarTypes/Exceptions.h"
#include "ValueOperations.h"

namespace Orbalt::TelvarWrapper::Types {

TELVAR_TYPES_DEFINE_RECORD(Progress);

Progress::Progress(float fraction_value, float score_value)
    : fraction(fraction_value), score(score_value) {}

TELVAR_TYPES_DEFINE_RECORD(MonitoredLoader);

MonitoredLoader::MonitoredLoader(ImageLoader load_images, ProgressReport take_progress,
                                 unsigned most_threads)
    : load(std::move(load_images)), report(std::move(take_progress)), threads(most_threads) {}

std::shared_ptr<Image> MonitoredLoader::operator()(const std::string& imageId) const {
  Tell(Progress());
  return load(imageId);
}

void MonitoredLoader::Tell(const Progress& progress) const {
  if (report && !report(progress)) throw InvalidOperationException("cancelled by the host");
}

}  // namespace Orbalt::TelvarWrapper::Types

// Trains and uses the tools on images that the host draws with its own OpenCV, and goes on using
// that while the library is loaded and after it is gone.

#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>

#include "contract/little_tools.h"

namespace {

using little_tools::require;
namespace samples = little_tools::samples;

/// How many mapped files are a core of OpenCV.
int cores_of_opencv() {
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line, last; std::getline(maps, line);) {
    const auto at = line.find('/');
    const std::string file = at == std::string::npos ? "" : line.substr(at);
    if (file.find("libopencv_core") != std::string::npos && file != last) ++count;
    last = file;
  }
  return count;
}

/// An image of the host's on its way through the host's own OpenCV and back.
std::shared_ptr<little_tools::Types::Image> through_opencv(const std::string& id) {
  const auto drawn = samples::LoadSample(id);
  const int side = static_cast<int>(samples::kSide);
  const cv::Mat image(side, side, CV_8UC1, const_cast<unsigned char*>(drawn->pixels));
  cv::Mat larger, same;
  cv::resize(image, larger, {}, 2, 2, cv::INTER_NEAREST);
  cv::resize(larger, same, image.size(), 0, 0, cv::INTER_NEAREST);
  require(cv::norm(image, same, cv::NORM_INF) == 0, "this host's own OpenCV has changed");
  return little_tools::Types::MakeImage(drawn->layout,
                                        {same.datastart, same.datastart + side * side});
}

void run() {
  {
    const LoadedLibrary library(LIBRARY);
    const little_tools::Tools tools(*little_tools::factory_of(library), {});
    tools.reader->Train(samples::ToRead(), through_opencv);
    tools.classifier->Train(samples::ToClassify(), through_opencv);
    tools.segmenter->Train(samples::ToSegment(), through_opencv, samples::LoadMask);
    require_right_answers(tools);
    require(cores_of_opencv() == 1, "the library brings a second OpenCV along");
    through_opencv(samples::kIds.front());
  }
  through_opencv(samples::kIds.front());
}

}  // namespace

int main() {
  return little_tools::exit_code_of(run);
}

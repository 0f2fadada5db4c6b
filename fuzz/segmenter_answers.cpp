// What the engine answers to the three calls of the segmenter, through the wrapper.
// Input: which call (1 byte), answer.
#include "segmenter/SmartSegmenterWrapper.h"
#include "telvar_msg/segmentation.pb.h"
#include "wrapped_tool.h"

using namespace telvar::fuzz;

namespace {

/// Equal, or both not a number.
bool same(double a, double b) {
  return a == b || (a != a && b != b);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const int call = input.number<std::uint8_t>() % 3;
  const std::string answer = input.rest();
  const char* const names[] = {"segmenter.process", "segmenter.batch", "segmenter.train"};
  script_answer(names[call], answer);
  auto tool =
      wrap<Orbalt::TelvarWrapper::Wrapper::SmartSegmenterWrapper, types::SmartSegmenter::Data>();
  if (call == 0) {
    require(tool.Process(small_image(), nullptr).resultImages.empty(), "no image was answered");
  } else if (call == 1) {
    require(tool.BatchProcess({}, load_small_image).results.empty(), "no image was written");
  } else {
    const auto result = tool.Train({}, load_small_image, load_small_image);
    telvar_msg::qv::segmentation::TrainingResult message;
    if (message.ParseFromString(answer)) {
      require(same(result.score, message.score()), "the score is converted");
    }
  }
  return 0;
}

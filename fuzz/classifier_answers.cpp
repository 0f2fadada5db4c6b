// What the engine answers to the three calls of the classifier, through the wrapper.
// Input: which call (1 byte), answer.
#include "classifier/SmartClassifierWrapper.h"
#include "telvar_msg/classification.pb.h"
#include "wrapped_tool.h"

using namespace telvar::fuzz;
namespace msg = telvar_msg::qv::classification;

namespace {

template <typename Samples, typename Messages>
void check_samples(const Samples& samples, const Messages& messages) {
  require(samples.size() == messages.size(), "every sample is converted");
  for (const auto& [key, message] : messages) {
    const auto found = samples.find(key);
    require(found != samples.end() &&
                found->second.size() == static_cast<std::size_t>(message.scores_size()),
            "every score is converted");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const int call = input.number<std::uint8_t>() % 3;
  const std::string answer = input.rest();
  const char* const names[] = {"classifier.process", "classifier.batch", "classifier.train"};
  script_answer(names[call], answer);
  auto tool =
      wrap<Orbalt::TelvarWrapper::Wrapper::SmartClassifierWrapper, types::SmartClassifier::Data>();
  if (call == 0) {
    msg::Result message;
    const auto result = tool.Process(small_image());
    if (message.ParseFromString(answer)) {
      require(result.scores.size() == static_cast<std::size_t>(message.sample().scores_size()),
              "every score is converted");
    }
  } else if (call == 1) {
    msg::ProcessingResult message;
    const auto result = tool.BatchProcess({}, load_small_image);
    if (message.ParseFromString(answer)) check_samples(result.samples, message.samples());
  } else {
    msg::TrainingResult message;
    const auto result = tool.Train({}, load_small_image);
    if (message.ParseFromString(answer)) check_samples(result.samples, message.samples());
  }
  return 0;
}

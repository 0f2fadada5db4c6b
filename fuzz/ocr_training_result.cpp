// What the engine answers for a training of the reader, through the wrapper.
#include "ocr/SmartOCRWrapper.h"
#include "telvar_msg/ocr_training.pb.h"
#include "wrapped_tool.h"

using namespace telvar::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string answer(reinterpret_cast<const char*>(data), size);
  script_answer("ocr.train", answer);
  auto tool = wrap<Orbalt::TelvarWrapper::Wrapper::SmartOCRWrapper, types::SmartOCR::Data>();
  const auto result = tool.Train({}, load_small_image);
  require(tool.GetData()->artifact == "trained", "the new artifact is installed");
  telvar_msg::qv::ocr::TrainingResult message;
  if (!message.ParseFromString(answer)) return 0;
  require(result.labeledSampleResults->size() == message.labeled_sample_results().size(),
          "every sample is converted");
  for (const auto& [image, confidences] : message.labeled_sample_results()) {
    const auto found = result.labeledSampleResults->find(image);
    require(found != result.labeledSampleResults->end() &&
                found->second->size() ==
                    static_cast<std::size_t>(confidences.character_label_confidence_size()),
            "every confidence is converted");
  }
  return 0;
}

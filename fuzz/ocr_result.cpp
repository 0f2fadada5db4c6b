// What the engine answers for an image, through the wrapper: any bytes give a result.
#include "ocr/SmartOCRWrapper.h"
#include "telvar_msg/ocr_result.pb.h"
#include "wrapped_tool.h"

using namespace telvar::fuzz;

namespace {

void check_sample(const types::SmartOCR::Sample& sample,
                  const telvar_msg::qv::ocr::SampleResult& message) {
  require(sample.characters && sample.lines, "characters and lines are there");
  require(sample.characters->size() == static_cast<std::size_t>(message.characters_size()),
          "every character is converted");
  for (const auto& character : *sample.characters) {
    require(character.categoryResults != nullptr, "category scores are there");
  }
  require(sample.lines->size() == static_cast<std::size_t>(message.lines_size()),
          "every line is converted");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string answer(reinterpret_cast<const char*>(data), size);
  script_answer("ocr.process", answer);
  auto tool = wrap<Orbalt::TelvarWrapper::Wrapper::SmartOCRWrapper, types::SmartOCR::Data>();
  const auto result = tool.Process(small_image(), nullptr, {10, 20});
  telvar_msg::qv::ocr::Result message;
  if (message.ParseFromString(answer)) check_sample(result.sample, message.sample());
  return 0;
}

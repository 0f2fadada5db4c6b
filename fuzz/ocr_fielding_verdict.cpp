// What the engine answers for a fielding, through the wrapper: a match or one of two refusals.
// Input: length of the verdict (1 byte), verdict, fielded sample.
#include "ocr/SmartOCRWrapper.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "wrapped_tool.h"

using namespace telvar::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string verdict = input.bytes(input.number<std::uint8_t>());
  script_answer("ocr.process", "");
  scripted_engine::script().fielded = {input.rest(), verdict};
  telvar_msg::qv::ocr::FieldingResult message;
  const bool parses = message.ParseFromString(verdict);
  auto tool = wrap<Orbalt::TelvarWrapper::Wrapper::SmartOCRWrapper, types::SmartOCR::Data>();
  try {
    const auto result =
        tool.Process(small_image(), nullptr, {10, 20}, types::SmartOCR::BasicFielding("0123", 0));
    require(!parses || message.matched(), "only a match is returned");
    require(!parses || result.fieldingResult.patternName == message.pattern_name(),
            "the pattern is the engine's");
    require(result.fieldingResult.sample.characters && result.fieldingResult.sample.lines,
            "the fielded sample is there");
  } catch (const Orbalt::TelvarWrapper::InvalidArgumentException& error) {
    require(std::string(error.what()) == "No matching Fielding pattern was found",
            "a verdict that is no match has its message");
    require(!parses || !message.matched(), "a match is not refused");
  }
  return 0;
}

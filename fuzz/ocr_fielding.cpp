// The engine's fielding: any rules on any sample, and what a match must be.
// Input: length of the fielding message (2 bytes), fielding message, sample message.
#include "fuzz_input.h"
#include "telvar/exceptions.h"
#include "telvar/ocr.h"
#include "telvar_msg/ocr_fielding.pb.h"
#include "telvar_msg/ocr_result.pb.h"

using namespace telvar::fuzz;
namespace msg = telvar_msg::qv::ocr;

namespace {

void check_lines(const msg::SampleResult& sample) {
  for (const auto& line : sample.lines()) {
    std::string text;
    for (const int index : line.indexes()) {
      require(index >= 0 && index < sample.characters_size(), "indexes are within the sample");
      text += sample.characters(index).category_scores(0).category_id();
    }
    require(line.text() == text, "the text is the best categories'");
  }
}

void check_match(const msg::SampleResult& sample) {
  require(sample.characters_size() > 0, "a match has characters");
  for (const auto& character : sample.characters()) {
    double sum = 0;
    float last = 1;
    require(character.category_scores_size() > 0, "a matched character has a category");
    for (const auto& category : character.category_scores()) {
      require(category.score() >= 0 && category.score() <= last, "scores descend within 0..1");
      last = category.score();
      sum += last;
    }
    require(sum > 0.999 && sum < 1.001, "scores sum to 1");
  }
  check_lines(sample);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string fielding = input.bytes(input.number<std::uint16_t>());
  const std::string sample = input.rest();
  try {
    const auto [fielded, verdict] = telvar::qv::ocr::Fielding(fielding).apply(sample);
    msg::FieldingResult result;
    msg::SampleResult fielded_sample;
    require(result.ParseFromString(verdict) && fielded_sample.ParseFromString(fielded),
            "the answers parse");
    if (result.matched()) {
      check_match(fielded_sample);
    } else {
      require(fielded.empty(), "nothing is answered without a match");
    }
  } catch (const telvar::types::invalid_message&) {
  } catch (const telvar::types::invalid_parameters&) {
  }
  return 0;
}

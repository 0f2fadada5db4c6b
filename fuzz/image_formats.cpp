// Image files of every format: decoded, or refused with a reason.
// Input: the file's bytes.
#include "fuzz_input.h"
#include "images/codecs/codecs.h"

using namespace telvar::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes = Input(data, size).rest();
  try {
    // Headers that claim much would take the time of all others.
    const cv::Mat image = telvar_host::decode_image(bytes, {4096, std::uint64_t{1} << 20});
    require(!image.empty(), "an image has pixels");
    require(image.depth() == CV_8U || image.depth() == CV_16U, "pixels have 8 or 16 bits");
  } catch (const telvar_host::ImageError& error) {
    require(*error.what() != 0, "a refusal says why");
  }
  return 0;
}

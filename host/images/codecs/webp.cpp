#include <webp/decode.h>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

// The decoder has numbers only.
std::string reason_of(VP8StatusCode status) {
  switch (status) {
    case VP8_STATUS_NOT_ENOUGH_DATA:
    case VP8_STATUS_SUSPENDED:
      return "it is cut off";
    case VP8_STATUS_OUT_OF_MEMORY:
      return "no memory for it";
    case VP8_STATUS_UNSUPPORTED_FEATURE:
      return "it has features of WebP that are not supported";
    default:
      return "it is a damaged WebP";
  }
}

void require(VP8StatusCode status) {
  if (status != VP8_STATUS_OK) throw cannot_decode(reason_of(status));
}

}  // namespace

cv::Mat decode_webp(const std::string& bytes, const SizeLimit& limit) {
  const auto* const data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  WebPDecoderConfig config;
  if (WebPInitDecoderConfig(&config) == 0) throw cannot_decode("libwebp is of another version");
  require(WebPGetFeatures(data, bytes.size(), &config.input));
  if (config.input.has_animation != 0) throw cannot_decode("it is an animation");
  const bool alpha = config.input.has_alpha != 0;
  cv::Mat image =
      new_image(static_cast<std::uint64_t>(config.input.width),
                static_cast<std::uint64_t>(config.input.height), alpha ? CV_8UC4 : CV_8UC3, limit);
  config.output.colorspace = alpha ? MODE_BGRA : MODE_BGR;
  config.output.is_external_memory = 1;
  config.output.u.RGBA = {image.data, static_cast<int>(image.step),
                          image.total() * image.elemSize()};
  require(WebPDecode(data, bytes.size(), &config));
  return image;
}

}  // namespace telvar_host

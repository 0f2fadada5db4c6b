#include "library/records.h"

#include "app/errors.h"

namespace telvar_host {
namespace {

struct OverImage {
  cv::Mat pixels;
  Types::Image image;
};

std::uint32_t channel_order(const cv::Mat& pixels) {
  switch (pixels.channels()) {
    case 3:
      return 1;  // BGR, as OpenCV decodes
    case 4:
      return 3;  // BGRA
    default:
      return 0;
  }
}

}  // namespace

std::shared_ptr<Types::Image> to_image(const cv::Mat& pixels) {
  auto holder = std::make_shared<OverImage>();
  holder->pixels = pixels;
  holder->image.layout = {static_cast<std::uint32_t>(pixels.cols),
                          static_cast<std::uint32_t>(pixels.rows),
                          static_cast<std::uint32_t>(pixels.step[0]),
                          static_cast<std::uint32_t>(pixels.channels()),
                          static_cast<std::uint32_t>(pixels.elemSize1() * 8),
                          channel_order(pixels)};
  holder->image.pixels = pixels.data;
  return {holder, &holder->image};
}

cv::Mat to_mat(const Types::ResultImage& image) {
  const auto [width, height, stride, channels, bits, order] = image.layout;
  const bool complete = stride >= width && image.pixels.size() >= std::size_t{stride} * height;
  if (width == 0 || height == 0 || channels != 1 || bits != 8 || order != 0 || !complete) {
    throw failure("the library returned a result image that is not 8-bit gray");
  }
  return cv::Mat(static_cast<int>(height), static_cast<int>(width), CV_8U,
                 const_cast<unsigned char*>(image.pixels.data()), stride)
      .clone();
}

std::shared_ptr<Types::ROI> to_roi(const std::optional<Region>& region) {
  if (!region) return nullptr;
  constexpr double kRadians = 3.14159265358979323846 / 180.0;
  return std::make_shared<Types::ROI>(static_cast<float>(region->x), static_cast<float>(region->y),
                                      static_cast<float>(region->angle_deg * kRadians),
                                      static_cast<float>(region->skew_deg * kRadians),
                                      region->width, region->height);
}

}  // namespace telvar_host

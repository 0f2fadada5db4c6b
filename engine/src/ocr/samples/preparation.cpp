#include "ocr/samples/preparation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/sampling.h"
#include "ocr/limits.h"
#include "telvar/exceptions.h"

namespace telvar::ocr {
namespace {

/// Pixels. A longer side in stored bytes cannot be a sample's, and products of two such sides still
/// fit 64 bits.
constexpr std::uint32_t kMaxSide = 1u << 24;

void write_labels(core::ByteWriter& writer, const std::vector<PreparedLabel>& labels) {
  writer.u32(static_cast<std::uint32_t>(labels.size()));
  for (const PreparedLabel& label : labels) {
    writer.u32(static_cast<std::uint32_t>(label.category));
    writer.f32(label.x);
    writer.f32(label.y);
  }
}

/// Places outside `whole` are malformed.
std::vector<PreparedLabel> read_labels(core::ByteReader& reader, std::uint32_t categories,
                                       const Window& whole) {
  constexpr std::size_t kLabelBytes = 12;  // as write_labels writes one
  const std::uint32_t count = reader.count("label count", 0, kMaxSampleLabels);
  if (reader.remaining() / kLabelBytes < count) {
    throw core::malformed_bytes("the labels end early");
  }
  std::vector<PreparedLabel> labels(count);
  for (PreparedLabel& label : labels) {
    label.category = static_cast<int>(reader.count("label category", 0, categories - 1));
    label.x = reader.f32("label x");
    label.y = reader.f32("label y");
    if (!whole.contains(label.x, label.y)) {
      throw core::malformed_bytes("a label lies outside its sample");
    }
  }
  return labels;
}

std::vector<PreparedLabel> inside(const std::vector<PreparedLabel>& labels, const Window& window) {
  std::vector<PreparedLabel> result;
  for (PreparedLabel label : labels) {
    if (!window.contains(label.x, label.y)) continue;
    label.x -= static_cast<float>(window.left);
    label.y -= static_cast<float>(window.top);
    result.push_back(label);
  }
  return result;
}

}  // namespace

float white_level(const types::ImageView& image) {
  const auto& [width, height, stride, channels, bits, order] = image.layout;
  if (bits != 16) return 1;
  const unsigned colours = std::min(channels, 3u);  // the fourth is opacity
  std::uint16_t largest = 1;
  for (unsigned y = 0; y < height; ++y) {
    const unsigned char* pixel = image.pixels + std::size_t{stride} * y;
    for (unsigned x = 0; x < width; ++x, pixel += std::size_t{2} * channels) {
      for (unsigned c = 0; c < colours; ++c) {
        std::uint16_t value;
        std::memcpy(&value, pixel + sizeof value * c, sizeof value);
        largest = std::max(largest, value);
      }
    }
  }
  return static_cast<float>(largest) / 65535;
}

PreparedExtent prepared_extent(const core::Region& region, const NominalSize& size,
                               const std::string& subject) {
  const double width = std::round(region.width * double{kPreparedCharacter} / size.width);
  const double height = std::round(region.height * double{kPreparedCharacter} / size.height);
  if (width * height > static_cast<double>(kMaxPreparedPixels)) {
    throw types::invalid_image_size(
        subject + ": the region holds more than " +
        std::to_string(kMaxPreparedPixels / kPreparedCharacter / kPreparedCharacter) +
        " characters of the nominal size");
  }
  PreparedExtent extent{std::max(1, static_cast<int>(width)), std::max(1, static_cast<int>(height)),
                        0, 0};
  extent.scale_x = static_cast<double>(extent.width) / region.width;
  extent.scale_y = static_cast<double>(extent.height) / region.height;
  return extent;
}

PreparedSample prepare(const types::ImageView& image, const core::Region& region,
                       const NominalSize& size, const std::string& subject) {
  const PreparedExtent extent = prepared_extent(region, size, subject);
  const core::Raster gray =
      core::sample(image, region, extent.width, extent.height, core::Colour::kGray);
  const float scale = 255 / white_level(image);
  PreparedSample sample;
  sample.name = subject;
  sample.width = extent.width;
  sample.height = extent.height;
  sample.aspect = size.height / size.width;
  sample.pixels.resize(gray.values.size());
  std::transform(gray.values.begin(), gray.values.end(), sample.pixels.begin(), [=](float value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value * scale, 0.0f, 255.0f)));
  });
  return sample;
}

bool Window::contains(float x, float y) const {
  const float u = x - static_cast<float>(left), v = y - static_cast<float>(top);
  return u >= -0.5f && v >= -0.5f && u < static_cast<float>(width) - 0.5f &&
         v < static_cast<float>(height) - 0.5f;
}

Window window_around(const PreparedSample& sample, float x, float y, int width, int height) {
  Window window{0, 0, std::min(width, sample.width), std::min(height, sample.height)};
  window.left = std::clamp(static_cast<int>(std::lround(x)) - window.width / 2, 0,
                           sample.width - window.width);
  window.top = std::clamp(static_cast<int>(std::lround(y)) - window.height / 2, 0,
                          sample.height - window.height);
  return window;
}

PreparedSample cut_out(const PreparedSample& sample, const Window& window) {
  PreparedSample part;
  part.width = window.width;
  part.height = window.height;
  part.aspect = sample.aspect;
  part.is_exemplar = true;
  part.pixels.reserve(static_cast<std::size_t>(part.width) * part.height);
  for (int row = 0; row < part.height; ++row) {
    const auto first = sample.pixels.begin() +
                       (static_cast<std::ptrdiff_t>(window.top) + row) * sample.width + window.left;
    part.pixels.insert(part.pixels.end(), first, first + part.width);
  }
  part.labels = inside(sample.labels, window);
  part.unlabelled = inside(sample.unlabelled, window);
  return part;
}

void write_sample(core::ByteWriter& writer, const PreparedSample& sample) {
  writer.u32(static_cast<std::uint32_t>(sample.width));
  writer.u32(static_cast<std::uint32_t>(sample.height));
  writer.f32(sample.aspect);
  writer.raw(sample.pixels.data(), sample.pixels.size());
  write_labels(writer, sample.labels);
  write_labels(writer, sample.unlabelled);
}

PreparedSample read_sample(core::ByteReader& reader, std::uint32_t categories) {
  PreparedSample sample;
  sample.width = static_cast<int>(reader.count("sample width", 1, kMaxSide));
  sample.height = static_cast<int>(reader.count("sample height", 1, kMaxSide));
  sample.aspect = reader.f32("sample aspect");
  if (sample.aspect < 1 / kMaxNominalAspect || sample.aspect > kMaxNominalAspect) {
    throw core::malformed_bytes("sample aspect out of range");
  }
  const std::uint64_t count = std::uint64_t(sample.width) * std::uint64_t(sample.height);
  const std::string_view pixels = reader.raw("sample pixels", count);
  sample.pixels.assign(pixels.begin(), pixels.end());
  const Window whole{0, 0, sample.width, sample.height};
  sample.labels = read_labels(reader, categories, whole);
  sample.unlabelled = read_labels(reader, categories, whole);
  return sample;
}

}  // namespace telvar::ocr

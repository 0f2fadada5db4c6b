#include "classifier/samples/thumbnail.h"

#include <algorithm>
#include <cmath>

#include "core/bytes.h"
#include "core/sampling.h"

namespace telvar::classifier {
namespace {

// Channels that differ by less are the noise of a gray image stored in colour.
constexpr float kColourfulness = 0.02f;

bool shows_colour(const core::Raster& raster) {
  const std::size_t count = raster.plane_size();
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto [low, high] =
        std::minmax({raster.values[i], raster.values[count + i], raster.values[2 * count + i]});
    sum += high - low;
  }
  return sum > kColourfulness * static_cast<double>(count);
}

int shrunk(unsigned side, double scale) {
  return std::max(1, static_cast<int>(std::lround(side * scale)));
}

}  // namespace

types::Size2<int> thumbnail_extent(const types::ImageView& image, int max_side) {
  const unsigned longest = std::max(image.layout[0], image.layout[1]);
  const double scale = std::min(1.0, static_cast<double>(max_side) / longest);
  return {shrunk(image.layout[0], scale), shrunk(image.layout[1], scale)};
}

Thumbnail make_thumbnail(const types::ImageView& image, int max_side) {
  const auto extent = thumbnail_extent(image, max_side);
  const bool colour = core::has_colour(image);
  core::Raster raster = core::sample(image, core::whole_image(image), extent.width, extent.height,
                                     colour ? core::Colour::kRgb : core::Colour::kGray);
  if (colour && !shows_colour(raster)) raster = core::to_gray(raster);
  Thumbnail thumbnail;
  thumbnail.width = raster.width;
  thumbnail.height = raster.height;
  thumbnail.channels = raster.channels;
  thumbnail.bits = static_cast<int>(image.layout[4]);
  const float white = thumbnail.bits == 8 ? 255.0f : 65535.0f;
  core::ByteWriter writer;
  for (const float value : raster.values) {
    // The weights of a mean of many samples may add up to a little more than 1.
    const auto level = static_cast<std::uint16_t>(std::lround(std::min(value, 1.0f) * white));
    thumbnail.bits == 8 ? writer.u8(static_cast<std::uint8_t>(level)) : writer.u16(level);
  }
  thumbnail.pixels = writer.take();
  return thumbnail;
}

core::Raster Thumbnail::raster() const {
  core::Raster out(width, height, channels);
  for (std::size_t i = 0; i < out.values.size(); ++i) {
    if (bits == 8) {
      out.values[i] = static_cast<float>(static_cast<unsigned char>(pixels[i])) / 255.0f;
    } else {
      const int level = static_cast<unsigned char>(pixels[2 * i]) |
                        static_cast<unsigned char>(pixels[2 * i + 1]) << 8;
      out.values[i] = static_cast<float>(level) / 65535.0f;
    }
  }
  return out;
}

float Thumbnail::peak() const {
  const core::Raster values = raster();
  return *std::max_element(values.values.begin(), values.values.end());
}

std::string encode(const Thumbnail& thumbnail) {
  core::ByteWriter writer;
  writer.u32(static_cast<std::uint32_t>(thumbnail.width));
  writer.u32(static_cast<std::uint32_t>(thumbnail.height));
  writer.u8(static_cast<std::uint8_t>(thumbnail.channels));
  writer.u8(static_cast<std::uint8_t>(thumbnail.bits));
  writer.blob(thumbnail.pixels);
  return writer.take();
}

Thumbnail decode(std::string_view bytes, const types::ImageView& image, int max_side) {
  const auto extent = thumbnail_extent(image, max_side);
  core::ByteReader reader(bytes);
  Thumbnail thumbnail;
  thumbnail.width = static_cast<int>(reader.u32("width"));
  thumbnail.height = static_cast<int>(reader.u32("height"));
  thumbnail.channels = reader.u8("channels");
  thumbnail.bits = reader.u8("bits");
  thumbnail.pixels = reader.blob("pixels");
  reader.finish("thumbnail");
  const bool fits =
      thumbnail.width == extent.width && thumbnail.height == extent.height &&
      thumbnail.bits == static_cast<int>(image.layout[4]) &&
      (thumbnail.channels == 1 || (thumbnail.channels == 3 && core::has_colour(image)));
  if (!fits) throw core::malformed_bytes("thumbnail of another image");
  const std::size_t size = static_cast<std::size_t>(thumbnail.width) * thumbnail.height *
                           thumbnail.channels * (thumbnail.bits / 8);
  if (thumbnail.pixels.size() != size) throw core::malformed_bytes("thumbnail");
  return thumbnail;
}

}  // namespace telvar::classifier

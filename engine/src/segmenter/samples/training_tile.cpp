#include "segmenter/samples/training_tile.h"

#include <algorithm>
#include <cmath>

namespace telvar::segmenter {
namespace {

bool is_colour(const core::Raster& pixels) {
  if (pixels.channels != 3) return false;
  const std::size_t area = pixels.plane_size();
  return !std::equal(pixels.plane(0), pixels.plane(0) + area, pixels.plane(1)) ||
         !std::equal(pixels.plane(0), pixels.plane(0) + area, pixels.plane(2));
}

void append_value(std::string& out, float value, int depth) {
  const float clamped = std::clamp(value, 0.0f, 1.0f);
  if (depth == 1) {
    out.push_back(static_cast<char>(std::lround(clamped * 255)));
    return;
  }
  const long whole = std::lround(clamped * 65535);
  out.push_back(static_cast<char>(whole & 0xFF));
  out.push_back(static_cast<char>(whole >> 8));
}

LabelPlane pack(int category, const core::Mask& mask) {
  LabelPlane plane{category, std::string((mask.values.size() + 7) / 8, '\0')};
  for (std::size_t i = 0; i < mask.values.size(); ++i) {
    if (mask.values[i] != 0) plane.bits[i / 8] = static_cast<char>(plane.bits[i / 8] | 1 << i % 8);
  }
  return plane;
}

bool any(const core::Mask& mask) {
  return std::any_of(mask.values.begin(), mask.values.end(), [](auto v) { return v != 0; });
}

/// True when one of the first `area` bits is set.
bool any(const std::string& bits, std::size_t area) {
  for (std::size_t i = 0; i < area; ++i) {
    if (bit_at(bits, i)) return true;
  }
  return false;
}

}  // namespace

const ContextMap& map_of(const TrainingTile& tile, const std::vector<ContextMap>& maps) {
  static const ContextMap unknown;
  const auto index = static_cast<std::size_t>(tile.origin.overview);
  return tile.origin.overview >= 0 && index < maps.size() ? maps[index] : unknown;
}

const LabelPlane* find_label(const TrainingTile& tile, int category) {
  for (const LabelPlane& plane : tile.labels) {
    if (plane.category == category) return &plane;
  }
  return nullptr;
}

TrainingTile make_tile(const core::Raster& pixels, int depth, const std::vector<core::Mask>& masks,
                       std::uint64_t known) {
  TrainingTile tile;
  tile.width = pixels.width;
  tile.height = pixels.height;
  tile.channels = is_colour(pixels) ? 3 : 1;
  tile.depth = depth;
  tile.known = known;
  const std::size_t values = tile.area() * tile.channels;
  tile.pixels.reserve(values * depth);
  for (std::size_t i = 0; i < values; ++i) append_value(tile.pixels, pixels.values[i], depth);
  for (std::size_t c = 0; c < masks.size(); ++c) {
    if (any(masks[c])) tile.labels.push_back(pack(static_cast<int>(c), masks[c]));
  }
  return tile;
}

core::Raster to_raster(const TrainingTile& tile) {
  core::Raster raster(tile.width, tile.height, tile.channels);
  for (std::size_t i = 0; i < raster.values.size(); ++i) raster.values[i] = tile.value(i);
  return raster;
}

TrainingTile cut_tile(const TrainingTile& tile, int x, int y, int width, int height) {
  core::Raster pixels(width, height, tile.channels);
  for (int c = 0; c < tile.channels; ++c) {
    for (int row = 0; row < height; ++row) {
      const std::size_t from = tile.area() * c + std::size_t(y + row) * tile.width + x;
      for (int column = 0; column < width; ++column) {
        pixels.at(c, row, column) = tile.value(from + column);
      }
    }
  }
  std::vector<core::Mask> masks;
  for (const LabelPlane& plane : tile.labels) {
    masks.resize(plane.category + 1);
    core::Mask& mask = masks.back() = core::Mask(width, height);
    for (int row = 0; row < height; ++row) {
      for (int column = 0; column < width; ++column) {
        mask.at(row, column) = bit_at(plane.bits, std::size_t(y + row) * tile.width + x + column);
      }
    }
  }
  TrainingTile cut = make_tile(pixels, tile.depth, masks, tile.known);
  cut.origin = tile.origin;
  cut.origin.place.x += x;
  cut.origin.place.y += y;
  return cut;
}

void write_tile(core::ByteWriter& writer, const TrainingTile& tile) {
  writer.u16(static_cast<std::uint16_t>(tile.width));
  writer.u16(static_cast<std::uint16_t>(tile.height));
  writer.u8(static_cast<std::uint8_t>(tile.channels));
  writer.u8(static_cast<std::uint8_t>(tile.depth));
  writer.raw(tile.pixels.data(), tile.pixels.size());
  writer.u64(tile.known);
  writer.u8(static_cast<std::uint8_t>(tile.labels.size()));
  for (const LabelPlane& plane : tile.labels) {
    writer.u8(static_cast<std::uint8_t>(plane.category));
    writer.raw(plane.bits.data(), plane.bits.size());
  }
}

namespace {

int read_choice(std::uint8_t value, std::uint8_t other, const char* what) {
  if (value != 1 && value != other) {
    throw core::malformed_bytes(std::string("tile: ") + what + " " + std::to_string(value) +
                                " is neither 1 nor " + std::to_string(other));
  }
  return value;
}

int read_side(core::ByteReader& reader, int max_side) {
  const int side = reader.u16("tile side");
  if (side < 1 || side > max_side) {
    throw core::malformed_bytes("tile: side " + std::to_string(side) + " is outside 1.." +
                                std::to_string(max_side));
  }
  return side;
}

}  // namespace

TrainingTile read_tile(core::ByteReader& reader, int max_side, int categories) {
  TrainingTile tile;
  tile.width = read_side(reader, max_side);
  tile.height = read_side(reader, max_side);
  tile.channels = read_choice(reader.u8("tile channels"), 3, "channel count");
  tile.depth = read_choice(reader.u8("tile depth"), 2, "depth");
  tile.pixels = reader.raw("tile pixels", tile.area() * tile.channels * tile.depth);
  tile.known = reader.u64("known categories");
  if (categories < 64 && tile.known >> categories != 0) {
    throw core::malformed_bytes("tile: labels of more than " + std::to_string(categories) +
                                " categories");
  }
  const int planes = reader.u8("label planes");
  int last = -1;
  for (int i = 0; i < planes; ++i) {
    const int category = reader.u8("label category");
    if (category <= last || category >= categories || !(tile.known >> category & 1)) {
      throw core::malformed_bytes("tile: label plane of category " + std::to_string(category));
    }
    last = category;
    LabelPlane plane{category, std::string(reader.raw("label plane", (tile.area() + 7) / 8))};
    if (!any(plane.bits, tile.area())) {
      throw core::malformed_bytes("tile: label plane of category " + std::to_string(category) +
                                  " without a pixel");
    }
    tile.labels.push_back(std::move(plane));
  }
  return tile;
}

void write_place(core::ByteWriter& writer, const PlaceInRegion& place) {
  for (const int value : {place.x, place.y, place.width, place.height}) {
    writer.u16(static_cast<std::uint16_t>(value));
  }
}

PlaceInRegion read_place(core::ByteReader& reader, const TrainingTile& tile) {
  PlaceInRegion place;
  for (int* value : {&place.x, &place.y, &place.width, &place.height}) {
    *value = reader.u16("place of a tile");
  }
  if (place.x + tile.width > place.width || place.y + tile.height > place.height) {
    throw core::malformed_bytes("tile: it does not lie within its region");
  }
  return place;
}

}  // namespace telvar::segmenter

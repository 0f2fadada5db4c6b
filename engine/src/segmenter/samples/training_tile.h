#pragma once

// A labelled piece of a training image, in the compact form that trainings keep in memory, the
// train cache stores and artifacts carry as exemplars.

#include <cstdint>
#include <string>
#include <vector>

#include "core/bytes.h"
#include "core/raster.h"
#include "segmenter/network/context_map.h"

namespace telvar::segmenter {

/// The pixels of one category in a tile: bit i % 8 of byte i / 8 is pixel i, row by row.
struct LabelPlane {
  int category = 0;
  std::string bits;
};

/// Where a tile was cut from. Not part of a tile's bytes.
struct TileOrigin {
  int overview = -1;  // which of a list of overviews shows its region; -1: none
  PlaceInRegion place;
};

struct TrainingTile {
  int width = 0;
  int height = 0;
  int channels = 1;                // 1 gray, 3 red, green, blue
  int depth = 1;                   // bytes a value, little endian; the largest value stands for 1
  std::string pixels;              // planar
  std::uint64_t known = 0;         // bit c: category c is labelled here, present or not
  std::vector<LabelPlane> labels;  // categories present, ascending; each has a pixel
  TileOrigin origin;

  std::size_t area() const { return static_cast<std::size_t>(width) * height; }
  /// The value at an index into the planes, 0..1.
  float value(std::size_t index) const {
    const auto* bytes = reinterpret_cast<const unsigned char*>(pixels.data());
    if (depth == 1) return bytes[index] * (1.0f / 255);
    return (bytes[2 * index] | bytes[2 * index + 1] << 8) * (1.0f / 65535);
  }
};

using Tiles = std::vector<const TrainingTile*>;

inline bool bit_at(const std::string& bits, std::size_t index) {
  return (static_cast<unsigned char>(bits[index / 8]) >> (index % 8)) & 1;
}

/// What is known around a tile: an empty map where its overview is not among `maps`.
const ContextMap& map_of(const TrainingTile& tile, const std::vector<ContextMap>& maps);

/// The plane of a category, or null when the tile has none of it.
const LabelPlane* find_label(const TrainingTile& tile, int category);

/// A tile of `pixels`; colour planes that agree everywhere are kept once. Every mask has the
/// raster's size; masks[c] belongs to category c, and an empty one means none of it.
TrainingTile make_tile(const core::Raster& pixels, int depth, const std::vector<core::Mask>& masks,
                       std::uint64_t known);

/// The tile's pixels as a raster of its own channels.
core::Raster to_raster(const TrainingTile& tile);

/// A part of a tile; it lies within. Its origin is known where the tile's is.
TrainingTile cut_tile(const TrainingTile& tile, int x, int y, int width, int height);

void write_tile(core::ByteWriter& writer, const TrainingTile& tile);

/// Throws malformed_bytes; sides up to `max_side`, categories below `categories`.
TrainingTile read_tile(core::ByteReader& reader, int max_side, int categories);

/// The place of a tile in its region: x, y, width, height as u16.
void write_place(core::ByteWriter& writer, const PlaceInRegion& place);

/// Throws malformed_bytes when the tile does not lie within the region.
PlaceInRegion read_place(core::ByteReader& reader, const TrainingTile& tile);

}  // namespace telvar::segmenter

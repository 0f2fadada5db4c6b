#pragma once

// Training crops: random, augmented pieces of training tiles with their labels.

#include <set>
#include <vector>

#include "core/random.h"
#include "segmenter/network/context_map.h"
#include "segmenter/network/input_planes.h"
#include "segmenter/samples/augmentation.h"
#include "segmenter/samples/crop.h"
#include "segmenter/samples/training_tile.h"

namespace telvar::segmenter {

/// Largest side of a training crop, pixels.
constexpr int kMaxCropSide = 128;

/// The side of crops from these tiles, a multiple of 16: no longer than the longest tile needs.
int choose_crop_side(const std::vector<const TrainingTile*>& tiles);

/// What crops are like beside their source.
struct CropStyle {
  /// Planes that the network sees beside the pixels. In a share of the crops they are left out (0),
  /// so that it can do without.
  const std::vector<ContextMap>* maps = nullptr;  // a plane a category: the context around
  bool positions = false;                         // two planes: where a pixel lies, -1..1
  float left_out = 0;                             // that share
  bool fades = false;                             // rare thin things, in some crops
  Strength strength = Strength::kNormal;
  bool mixes = false;  // some are laid over others, or in other colours
};

/// Where crops come from. Immutable once made; draw from several threads at once.
class CropSource {
 public:
  /// The tiles (and maps) must outlive it.
  CropSource(std::vector<const TrainingTile*> tiles, int side, int categories,
             const InputSpec& spec, const CropStyle& style = {});

  int side() const { return side_; }
  int categories() const { return categories_; }
  const InputSpec& spec() const { return spec_; }
  /// Planes that a network takes in all.
  int planes() const;

  /// Half of the crops lie on a pixel of a category, each category alike; the rest anywhere.
  Crop draw(core::Random& random) const;

 private:
  struct Place {
    const TrainingTile* tile;
    float x, y;  // centre of the crop, tile pixels
  };
  struct Occurrence {
    const TrainingTile* tile;
    std::vector<std::uint32_t> pixels;  // evenly thinned
  };
  void add_thin(const std::vector<Occurrence>& occurrences, int category);
  Place choose_place(core::Random& random) const;
  Crop draw_single(core::Random& random) const;
  void sample_pixels(const TrainingTile& tile, const std::vector<Position>& positions,
                     Crop& crop) const;
  void sample_targets(const TrainingTile& tile, const std::vector<Position>& positions,
                      core::Random& random, Crop& crop) const;
  void sample_beside(const TrainingTile& tile, const std::vector<Position>& positions,
                     core::Random& random, Crop& crop) const;

  std::vector<const TrainingTile*> tiles_;
  std::vector<std::vector<Occurrence>> occurrences_;  // of the categories that occur
  std::set<const LabelPlane*> thin_;                  // planes of things that may be faded
  int side_;
  int categories_;
  InputSpec spec_;
  CropStyle style_;
};

}  // namespace telvar::segmenter

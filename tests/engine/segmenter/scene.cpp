#include "scene.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "core/random.h"

namespace telvar::segmenter_test {
namespace {

struct Canvas {
  std::vector<double> values = std::vector<double>(kSide * kSide);
  std::vector<double> hues = std::vector<double>(kSide * kSide);
  std::map<std::string, std::vector<unsigned char>> masks;
};

template <class Inside>
void draw(Canvas& canvas, const std::string& category, double value, const Inside& inside,
          double hue = 0) {
  auto& mask = canvas.masks[category];
  mask.resize(kSide * kSide);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      if (!inside(x, y)) continue;
      canvas.values[y * kSide + x] = value;
      canvas.hues[y * kSide + x] = hue;
      mask[y * kSide + x] = 200;
    }
  }
}

/// Inside a disc of radius 7 that lies within the scene.
std::function<bool(int, int)> some_disc(core::Random& random) {
  const int cx = 7 + random.below(kSide - 14), cy = 7 + random.below(kSide - 14);
  return [cx, cy](int x, int y) { return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= 49; };
}

Canvas draw_scene(core::Random& random, const Look& look) {
  Canvas canvas;
  const double ground = 100 + random.below(30);
  for (double& value : canvas.values) value = ground + (look.noise ? 6 * random.normal() : 0.0);
  if (look.hues) {
    draw(canvas, "green", ground, some_disc(random), -1);
    draw(canvas, "red", ground, some_disc(random), 1);
    return canvas;
  }
  const int left = random.below(kSide - 14), top = random.below(kSide - 14);
  draw(canvas, "square", 210,
       [&](int x, int y) { return x >= left && x < left + 14 && y >= top && y < top + 14; });
  draw(canvas, "disc", 30, some_disc(random));
  return canvas;
}

types::Image to_image(const Canvas& canvas, const Look& look) {
  // Red against green, of equal luma.
  constexpr double kChroma[] = {80, -80 * 0.299 / 0.587, 0, 0};
  std::vector<unsigned char> bytes;
  const int depth = look.bits / 8;
  for (std::size_t i = 0; i < canvas.values.size(); ++i) {
    for (int c = 0; c < look.channels; ++c) {
      const double value = std::clamp(canvas.values[i] + canvas.hues[i] * kChroma[c], 0.0, 255.0);
      const auto level = static_cast<unsigned>(depth == 2 ? value * 256 : value);
      for (int byte = 0; byte < depth; ++byte) {
        bytes.push_back(static_cast<unsigned char>(level >> 8 * byte));
      }
    }
  }
  const auto channels = static_cast<unsigned>(look.channels);
  const unsigned order = channels == 1 ? 0 : channels == 3 ? 2 : 4;
  return {kSide,
          kSide,
          static_cast<unsigned>(kSide * depth) * channels,
          channels,
          static_cast<unsigned>(look.bits),
          order,
          bytes.data()};
}

types::ImageLoader lookup(const std::map<std::string, types::Image>& images) {
  return [&images](const std::string& id) { return images.at(id); };
}

}  // namespace

types::ImageLoader Scenes::loader() const {
  return lookup(images);
}

types::ImageLoader Scenes::mask_loader() const {
  return lookup(masks);
}

types::Image gray_image(int width, int height, const std::vector<unsigned char>& pixels) {
  const auto w = static_cast<unsigned>(width), h = static_cast<unsigned>(height);
  return {w, h, w, 1, 8, 0, pixels.data()};
}

Scenes make_scenes(int count, std::uint64_t seed, const std::vector<std::string>& categories,
                   const Look& look) {
  Scenes scenes;
  for (const std::string& category : categories) {
    (*scenes.dataset.mutable_categories())[category];
  }
  core::Random random({seed});
  for (int i = 0; i < count; ++i) {
    const std::string id = "scene-" + std::to_string(seed) + "-" + std::to_string(i);
    const Canvas canvas = draw_scene(random, look);
    scenes.images[id] = to_image(canvas, look);
    auto& sample = (*scenes.dataset.mutable_samples())[id];
    sample.set_image_id(id);
    for (const std::string& category : categories) {
      (*sample.mutable_category_masks())[category] = id + "/" + category;
      scenes.masks[id + "/" + category] = gray_image(kSide, kSide, canvas.masks.at(category));
    }
  }
  return scenes;
}

namespace {

constexpr int kWide = 112, kLeft = 60, kTop = 30;

/// `inner` in the region, and `around` repeated in its surroundings.
types::Image spread(const types::Image& inner, const types::Image& around) {
  const auto [width, height, stride, channels, bits, order] = inner.layout;
  const unsigned depth = stride / width;
  std::vector<unsigned char> pixels;
  for (int at = 0; at < kWide * kWide; ++at) {
    const double dx = at % kWide - kLeft, dy = at / kWide - kTop;
    const auto x = static_cast<int>(std::lround(0.6 * dx + 0.8 * dy));
    const auto y = static_cast<int>(std::lround(0.6 * dy - 0.8 * dx));
    const bool inside = x >= 0 && x < kSide && y >= 0 && y < kSide;
    const int column = (x + 4 * kSide) % kSide, row = (y + 4 * kSide) % kSide;
    const unsigned char* from = (inside ? inner : around).pixels.data() + row * stride;
    pixels.insert(pixels.end(), from + column * depth, from + (column + 1) * depth);
  }
  return {kWide, kWide, kWide * depth, channels, bits, order, pixels.data()};
}

}  // namespace

Scenes in_turned_regions(const Scenes& scenes) {
  Scenes wide = scenes;
  for (auto& [id, sample] : *wide.dataset.mutable_samples()) {
    auto& region = *sample.mutable_region_of_interest();
    region.set_width(kSide);
    region.set_height(kSide);
    auto& t = *region.mutable_affine_transform();
    t.set_m00(0.6f), t.set_m01(-0.8f), t.set_tx(kLeft);
    t.set_m10(0.8f), t.set_m11(0.6f), t.set_ty(kTop);
    wide.images.at(id) = spread(scenes.images.at(id), scenes.images.at(id));
    const std::string first = sample.category_masks().begin()->second;
    const std::string second = std::next(sample.category_masks().begin())->second;
    wide.masks.at(first) = spread(scenes.masks.at(first), scenes.masks.at(second));
    wide.masks.at(second) = spread(scenes.masks.at(second), scenes.masks.at(first));
  }
  return wide;
}

std::map<std::string, double> measure(const std::string& artifact, const Scenes& scenes) {
  const seg::Model model(artifact, "", types::CpuDevice(1));
  std::map<std::string, double> shared, united;
  for (const auto& [id, image] : scenes.images) {
    const auto [result, found] = model.process(types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0});
    for (const auto& [category, probability] : found) {
      const auto mask = scenes.masks.find(id + "/" + category);
      if (mask == scenes.masks.end()) continue;
      for (std::size_t i = 0; i < probability.pixels.size(); ++i) {
        const bool claimed = probability.pixels[i] >= 128, belongs = mask->second.pixels[i] != 0;
        shared[category] += claimed && belongs;
        united[category] += claimed || belongs;
      }
    }
  }
  for (auto& [category, sum] : shared) sum /= std::max(1.0, united[category]);
  return shared;
}

std::tuple<float, std::string> train(const Scenes& scenes, const std::string& artifact) {
  const auto cache = seg::TrainCache::create(false, ~0ULL);
  auto [result, trained] =
      seg::train(artifact, scenes.message(), "", scenes.loader(), scenes.mask_loader(), *cache, {});
  telvar_msg::qv::segmentation::TrainingResult parsed;
  parsed.ParseFromString(result);
  return {parsed.score(), trained};
}

}  // namespace telvar::segmenter_test

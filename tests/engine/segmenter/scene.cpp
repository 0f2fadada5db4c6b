#include "scene.h"

#include <algorithm>

#include "core/random.h"

namespace telvar::segmenter_test {
namespace {

struct Canvas {
  std::vector<double> values = std::vector<double>(kSide * kSide);
  std::map<std::string, std::vector<unsigned char>> masks;
};

template <class Inside>
void draw(Canvas& canvas, const std::string& category, double value, const Inside& inside) {
  auto& mask = canvas.masks[category];
  mask.resize(kSide * kSide);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      if (!inside(x, y)) continue;
      canvas.values[y * kSide + x] = value;
      mask[y * kSide + x] = 200;
    }
  }
}

Canvas draw_scene(core::Random& random, const Look& look) {
  Canvas canvas;
  const double ground = 100 + random.below(30);
  for (double& value : canvas.values) value = ground + (look.noise ? 6 * random.normal() : 0.0);
  const int left = random.below(kSide - 14), top = random.below(kSide - 14);
  draw(canvas, "square", 210,
       [&](int x, int y) { return x >= left && x < left + 14 && y >= top && y < top + 14; });
  const int cx = 7 + random.below(kSide - 14), cy = 7 + random.below(kSide - 14);
  draw(canvas, "disc", 30,
       [&](int x, int y) { return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= 49; });
  return canvas;
}

types::Image to_image(const Canvas& canvas, const Look& look) {
  std::vector<unsigned char> bytes;
  const int depth = look.bits / 8;
  for (const double value : canvas.values) {
    const auto level = static_cast<unsigned>(std::clamp(value, 0.0, 255.0));
    for (int c = 0; c < look.channels; ++c) {
      if (depth == 2) bytes.push_back(0);
      bytes.push_back(static_cast<unsigned char>(level));
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

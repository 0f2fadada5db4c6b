// Trains a segmenter to find scratches on a drawn, noisy surface, and measures it on a new image.
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace Types = Orbalt::TelvarWrapper::Types;

constexpr int kSide = 96;  // px

struct Surface {
  std::vector<unsigned char> pixels = std::vector<unsigned char>(kSide * kSide);
  std::vector<unsigned char> mask = std::vector<unsigned char>(kSide * kSide);  // 255 on a scratch
};

// One dark scratch of random place and direction across a gray ground with noise and a light
// gradient.
Surface draw(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
  const double angle = below(360) * 3.14159265 / 180, x0 = 30 + below(37), y0 = 30 + below(37);
  Surface surface;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const double along = (x - x0) * std::cos(angle) + (y - y0) * std::sin(angle);
      const double across = (y - y0) * std::cos(angle) - (x - x0) * std::sin(angle);
      const bool scratch = std::abs(along) < 28 && std::abs(across) < 2.5;
      surface.pixels[y * kSide + x] =
          static_cast<unsigned char>((scratch ? 70 : 140) + x / 3 + below(31) - 15);
      surface.mask[y * kSide + x] = scratch ? 255 : 0;
    }
  }
  return surface;
}

std::shared_ptr<Types::Image> image_of(const std::vector<unsigned char>& pixels) {
  return Types::MakeImage({kSide, kSide, kSide, 1, 8, 0}, pixels);
}

int main() try {
  std::shared_ptr<Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  auto segmenter =
      factory->CreateSmartSegmenterWrapper(std::make_unique<Types::SmartSegmenter::Data>("", ""));

  std::map<std::string, Surface> surfaces;
  Types::SmartSegmenter::Dataset dataset;
  dataset.categories = {"scratch"};
  for (unsigned i = 0; i < 12; ++i) {
    Types::SmartSegmenter::Sample sample;
    sample.imageId = std::to_string(i);
    sample.categoryMasks["scratch"] = sample.imageId;  // what the mask loader is asked for
    surfaces[sample.imageId] = draw(i);
    dataset.samples.push_back(sample);
  }
  const auto trained = segmenter->Train(
      dataset, [&](const std::string& id) { return image_of(surfaces.at(id).pixels); },
      [&](const std::string& id) { return image_of(surfaces.at(id).mask); });
  std::printf("mean IoU on held-out images: %.2f\n", trained.score);

  const auto surface = draw(1000);
  const auto result = segmenter->Process(image_of(surface.pixels), nullptr);
  const auto& found =
      result.resultImages.at("scratch")->pixels;  // probability 0..255, one byte a pixel
  int both = 0, either = 0;
  for (std::size_t i = 0; i < found.size(); ++i) {
    both += found[i] >= 128 && surface.mask[i] != 0;
    either += found[i] >= 128 || surface.mask[i] != 0;
  }
  std::printf("intersection over union on a new image: %.2f\n", double(both) / either);
  return 2 * both >= either ? 0 : 1;
} catch (const std::exception& error) {  // every class of the library, and the standard ones
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

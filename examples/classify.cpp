// Trains a classifier on drawn discs and squares, classifies new ones, stores the tool and makes it
// again.
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace Types = Orbalt::TelvarWrapper::Types;

constexpr int kSide = 32;  // px

// A bright disc or square of random place and size on a dark, noisy ground.
std::shared_ptr<Types::Image> draw(const std::string& shape, unsigned seed) {
  std::mt19937 random(seed);
  const auto between = [&](int low, int high) {
    return low + static_cast<int>(random() % (high - low + 1));
  };
  const int radius = between(6, 10), cx = between(11, 20), cy = between(11, 20);
  std::vector<unsigned char> pixels(kSide * kSide);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const int dx = x - cx, dy = y - cy;
      const bool inside = shape == "disc" ? dx * dx + dy * dy <= radius * radius
                                          : std::abs(dx) <= radius && std::abs(dy) <= radius;
      pixels[y * kSide + x] = static_cast<unsigned char>((inside ? 170 : 50) + between(0, 40));
    }
  }
  return Types::MakeImage({kSide, kSide, kSide, 1, 8, 0}, std::move(pixels));
}

std::string best(const Types::SmartClassifier::Result& result) {
  Types::SmartClassifier::CategoryScore best;
  for (const auto& score : result.scores) {
    if (score.score > best.score) best = score;
  }
  return best.categoryId;
}

int main() try {
  std::shared_ptr<Types::IWrapperFactory> factory;
  CreateWrapperFactory(factory);
  auto classifier =
      factory->CreateSmartClassifierWrapper(std::make_unique<Types::SmartClassifier::Data>("", ""));

  Types::SmartClassifier::Dataset dataset;
  std::map<std::string, std::shared_ptr<Types::Image>> images;
  for (unsigned i = 0; i < 40; ++i) {
    const std::string id = std::to_string(i), shape = i % 2 == 0 ? "disc" : "square";
    images[id] = draw(shape, i);
    dataset.samples[id] = Types::SmartClassifier::Sample(id, shape);
  }
  const auto trained =
      classifier->Train(dataset, [&](const std::string& id) { return images.at(id); });
  std::printf("score on held-out images: %.2f\n", trained.overallScore);

  // A host stores these two strings, and makes the tool again from them.
  auto again = factory->CreateSmartClassifierWrapper(classifier->GetData());
  int right = 0;
  for (unsigned i = 0; i < 20; ++i) {
    const std::string shape = i % 2 == 0 ? "disc" : "square";
    right += best(again->Process(draw(shape, 1000 + i))) == shape ? 1 : 0;
  }
  std::printf("%d of 20 new images right\n", right);
  return right >= 16 ? 0 : 1;
} catch (const std::exception& error) {  // every class of the library, and the standard ones
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

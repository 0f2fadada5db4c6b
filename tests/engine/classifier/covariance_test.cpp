#include "classifier/features/covariance.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/random.h"

namespace telvar::classifier {
namespace {

/// Noise around middle gray, smooth along the rows over `length` pixels.
core::Raster noise(int length, float contrast, std::uint64_t seed) {
  core::Random random({seed});
  core::Raster raster(48, 40, 1);
  for (int y = 0; y < raster.height; ++y) {
    float value = random.normal();
    for (int x = 0; x < raster.width; ++x) {
      if (x % length == 0) value = random.normal();
      raster.values[y * raster.width + x] = 0.5f + contrast * value;
    }
  }
  return raster;
}

float distance(const core::Raster& a, const core::Raster& b) {
  const std::vector<float> x = covariance_of(a), y = covariance_of(b);
  float sum = 0;
  for (std::size_t i = 0; i < x.size(); ++i) sum += (x[i] - y[i]) * (x[i] - y[i]);
  return sum;
}

TEST(Covariance, TellsTexturesApartMoreThanContrasts) {
  const core::Raster grain = noise(1, 0.1f, 1);
  EXPECT_LT(distance(grain, noise(1, 0.1f, 2)), 0.5f * distance(grain, noise(4, 0.1f, 3)));
  EXPECT_LT(distance(grain, noise(1, 0.05f, 4)), distance(grain, noise(4, 0.1f, 3)));
}

TEST(Covariance, OfAnEvenImageIsFinite) {
  for (const float value : covariance_of(noise(1, 0, 1))) EXPECT_TRUE(std::isfinite(value));
}

}  // namespace
}  // namespace telvar::classifier

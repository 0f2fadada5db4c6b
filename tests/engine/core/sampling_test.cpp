#include "core/sampling.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>

#include "../support/expect_error.h"
#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

using test::expect_error;
using testing::FloatNear;
using testing::Pointwise;
using types::AffineTransform;
using types::ImageView;
using Size = types::Size2<unsigned>;

constexpr AffineTransform kIdentity(1, 0, 0, 0, 1, 0);

TEST(CheckImage, NamesWhatIsWrong) {
  const std::vector<unsigned char> pixels(4096);
  const auto check = [&](unsigned w, unsigned h, unsigned stride, unsigned channels, unsigned bits,
                         unsigned order) {
    return [=, data = pixels.data()] {
      check_image(ImageView(w, h, stride, channels, bits, order, data), "image 'x'", {2, 64, 1000});
    };
  };
  check(10, 10, 80, 4, 16, 3)();
  using types::invalid_image;
  using types::invalid_image_size;
  expect_error<invalid_image_size>(check(0, 9, 9, 1, 8, 0), "image 'x': 0 x 9 px, the image is");
  expect_error<invalid_image_size>(check(1, 9, 9, 1, 8, 0), "the smallest side is 2 px");
  expect_error<invalid_image_size>(check(65, 2, 65, 1, 8, 0), "the largest side is 64 px");
  expect_error<invalid_image_size>(check(60, 60, 60, 1, 8, 0), "the limit is 1000 pixels");
  expect_error<invalid_image>(check(9, 9, 18, 2, 8, 0), "2 channels");
  expect_error<invalid_image>(check(9, 9, 99, 1, 12, 0), "12 bits");
  expect_error<invalid_image>(check(9, 9, 99, 3, 8, 3), "channel order 3");
  expect_error<invalid_image>(check(9, 9, 53, 3, 16, 1), "a row of 54 bytes");
  expect_error<invalid_image>(
      [] { check_image(ImageView(9, 9, 9, 1, 8, 0, nullptr), "image 'x'"); }, "missing");
  // A row of 2^64 bits.
  expect_error<invalid_image>([&] { types::Image(1u << 31, 1, 1, 1u << 31, 4, 0, pixels.data()); },
                              "at most 4 of 16 bits");
  types::Image image(10, 10, 10, 1, 8, 0, pixels.data());
  check_image(image, "image 'x'");
  image.layout[1] = 11;
  expect_error<invalid_image>([&] { check_image(image, "image 'x'"); },
                              "image 'x': the layout asks for 110 bytes, there are 100");
}

TEST(ResolveRegion, NamesWhatIsWrongAndAllowsPartlyOutside) {
  const std::vector<unsigned char> pixels(100);
  const ImageView image(10, 10, 10, 1, 8, 0, pixels.data());
  const auto resolve = [&](const AffineTransform& transform, Size size) {
    return [=] { return resolve_region(image, transform, size, "image 'x'", {1, 1000, 100000}); };
  };
  EXPECT_EQ(resolve(kIdentity, {0, 0})().width, 10);
  EXPECT_EQ(resolve({1, 0, -5, 0, 1, -5}, {6, 6})().height, 6);
  const float nan = std::nanf("");
  using types::invalid_roi;
  expect_error<invalid_roi>(resolve({1, 0, nan, 0, 1, 0}, {4, 4}), "not finite: a 1, b 0, c nan,");
  expect_error<invalid_roi>(
      resolve({1, 2, 0, 2, 4, 0}, {4, 4}),
      "singular: a pixel covers 0 image pixels, the smallest is 1e-06: a 1, b 2, c 0, d 2,");
  expect_error<invalid_roi>(resolve({1e38f, 0, 0, 0, 1, 0}, {100, 100}),
                            "the value 1e+38, the limit is 1000000");
  expect_error<invalid_roi>(resolve({1, 0, -3e9f, 0, 1, 0}, {4, 4}), "corner (-3e+09, -0.5)");
  expect_error<invalid_roi>(resolve(kIdentity, {0, 4}), "region of 0 x 4 px is empty");
  expect_error<invalid_roi>(resolve({1, 0, 1, 0, 1, 0}, {0, 0}), "empty");
  expect_error<invalid_roi>(resolve(kIdentity, {1001, 4}), "1000 px a side");
  expect_error<invalid_roi>(resolve({1, 0, 10, 0, 1, 0}, {4, 4}), "outside the image of 10 x 10");
  // Its bounding box touches the image's corner, the turned region does not.
  expect_error<invalid_roi>(resolve({0.7f, -0.7f, 16, 0.7f, 0.7f, 10}, {6, 6}), "outside");
}

struct Layout {
  const char* name;
  unsigned channels, bits, order;
};

TEST(Sample, ReadsEveryLayout) {
  // One pixel: red 0.2, green 0.4, blue 0.8.
  const float red = 0.2f, green = 0.4f, blue = 0.8f;
  for (const Layout& layout :
       {Layout{"BGR", 3, 8, 1}, Layout{"RGB", 3, 8, 2}, Layout{"BGRA", 4, 8, 3},
        Layout{"RGBA", 4, 16, 4}, Layout{"BGR", 3, 16, 1}}) {
    const bool blue_first = layout.order % 2 == 1;
    const float values[] = {blue_first ? blue : red, green, blue_first ? red : blue, 1};
    std::vector<unsigned char> pixels(16);
    for (unsigned c = 0; c < layout.channels; ++c) {
      if (layout.bits == 8) {
        pixels[c] = static_cast<unsigned char>(std::lround(values[c] * 255));
      } else {
        const auto value = static_cast<std::uint16_t>(std::lround(values[c] * 65535));
        std::memcpy(pixels.data() + 2 * c, &value, 2);
      }
    }
    const ImageView image(1, 1, 16, layout.channels, layout.bits, layout.order, pixels.data());
    const Region region = whole_image(image);
    EXPECT_THAT(sample(image, region, Colour::kRgb).values,
                Pointwise(FloatNear(1e-3f), {red, green, blue}))
        << layout.name << layout.bits;
    EXPECT_THAT(sample(image, region, Colour::kGray).values,
                Pointwise(FloatNear(1e-3f), {0.299f * red + 0.587f * green + 0.114f * blue}));
  }
}

class RampTest : public testing::Test {
 protected:
  RampTest() {
    for (int y = 0; y < 40; ++y) {
      for (int x = 0; x < 60; ++x) pixels[y * 64 + x] = static_cast<unsigned char>(2 * x + 3 * y);
    }
  }
  static float ramp(double x, double y) { return static_cast<float>((2 * x + 3 * y) / 255); }
  std::vector<unsigned char> pixels = std::vector<unsigned char>(64 * 40, 255);
  ImageView image{60, 40, 64, 1, 8, 0, pixels.data()};
};

TEST_F(RampTest, IsReproducedThroughAnyAffineMap) {
  for (const AffineTransform& t :
       {AffineTransform(1, 0, 5.5f, 0, 1, 7.25f), AffineTransform(0.8f, -0.3f, 12, 0.3f, 0.9f, 5),
        AffineTransform(-1.5f, 0, 50, 0, 1.25f, 3)}) {
    const Region region = resolve_region(image, t, Size(20, 16), "image");
    const Raster raster = sample(image, region, 10, 16, Colour::kGray);
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 10; ++x) {
        const double u = 2 * x + 0.5, v = y;
        EXPECT_NEAR(raster.at(0, y, x), ramp(t.a * u + t.b * v + t.c, t.d * u + t.e * v + t.f),
                    1e-4);
      }
    }
  }
}

TEST_F(RampTest, RepeatsEdgePixelsOutside) {
  const Region region =
      resolve_region(image, AffineTransform(1, 0, -5, 0, 1, -5), Size(8, 8), "image");
  const Raster raster = sample(image, region, Colour::kGray);
  EXPECT_FLOAT_EQ(raster.at(0, 0, 0), ramp(0, 0));
  EXPECT_FLOAT_EQ(raster.at(0, 7, 7), ramp(2, 2));
}

TEST(Sample, DoesNotAliasWhenShrinking) {
  std::vector<unsigned char> stripes(64 * 64);
  for (std::size_t i = 0; i < stripes.size(); ++i) stripes[i] = i % 2 ? 255 : 0;
  const ImageView image(64, 64, 64, 1, 8, 0, stripes.data());
  for (const float turn : {0.0f, 0.01f}) {
    const Region region =
        resolve_region(image, AffineTransform(1, -turn, 0, turn, 1, 0), Size(64, 64), "image");
    for (const float value : sample(image, region, 8, 8, Colour::kGray).values) {
      EXPECT_NEAR(value, 0.5f, 0.1f);
    }
  }
  Raster raster(4, 1, 1);
  raster.values = {0, 1, 2, 3};
  EXPECT_THAT(resize(raster, 2, 1).values, Pointwise(FloatNear(1e-6f), {0.5f, 2.5f}));
}

TEST(Sample, TakesNoMoreSamplesOfARepeatedEdgeThanOfAnImage) {
  const std::vector<unsigned char> white(64, 255);
  const ImageView image(8, 8, 8, 1, 8, 0, white.data());
  const auto seconds = [&](float step) {
    const std::clock_t start = std::clock();
    const Region region =
        resolve_region(image, AffineTransform(step, -1, 0, 1, step, 0), Size(300, 300), "image");
    EXPECT_THAT(sample(image, region, Colour::kGray).values, testing::Each(FloatNear(1, 1e-5f)));
    return std::clock() - start;
  };
  const auto fine = seconds(7.5f);
  EXPECT_LT(seconds(60), 4 * fine);  // 58 times the samples, if all were taken
}

TEST(SampleMask, TakesTheNearestPixelAndNothingOutside) {
  const unsigned char pixels[] = {0, 7, 0, 0};
  const ImageView image(2, 2, 2, 1, 8, 0, pixels);
  const Region region = resolve_region(image, AffineTransform(1, 0, -1, 0, 1, 0), Size(4, 2), "m");
  EXPECT_THAT(sample_mask(image, region, 4, 2).values,
              testing::ElementsAre(0, 0, 1, 0, 0, 0, 0, 0));
  const unsigned char alpha_only[] = {0, 0, 0, 255};
  const ImageView clear(1, 1, 4, 4, 8, 3, alpha_only);
  EXPECT_THAT(sample_mask(clear, whole_image(clear), 1, 1).values, testing::ElementsAre(0));
}

}  // namespace
}  // namespace telvar::core

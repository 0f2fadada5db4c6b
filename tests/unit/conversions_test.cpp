// Images, regions and batches between host and engine.

#include <cfenv>
#include <cmath>
#include <limits>

#include "bridge/Callbacks.h"
#include "bridge/CommonDataset.h"
#include "bridge/ImageConversion.h"
#include "bridge/RegionConversion.h"
#include "telvar/monitored_loader.h"
#include "tools.h"

namespace Orbalt::TelvarWrapper::Tests {
namespace {

using Wrapper::ConvertImage;
using Wrapper::ConvertROI;
using Wrapper::ConvertToEngineRegion;
using Wrapper::ConvertToImageView;

TEST(ImageConversion, ViewsTheHostsPixelsWithoutACopy) {
  const unsigned char pixel = 0;
  // No value of the layout means anything to the conversion.
  for (const unsigned char* pixels : {&pixel, static_cast<const unsigned char*>(nullptr)}) {
    const auto host = std::make_shared<Types::Image>(
        Types::ImageLayout{1, 0xFFFFFFFF, 0, 77, 3, 0x80000000}, pixels);
    const telvar::types::ImageView view = ConvertToImageView(host);
    EXPECT_THAT(view.layout, testing::ElementsAre(1, 0xFFFFFFFF, 0, 77, 3, 0x80000000));
    EXPECT_EQ(view.pixels, pixels);
  }
}

TEST(ImageConversion, TakesNoImageForOneWithoutPixels) {
  EXPECT_EQ(ConvertToImageView(nullptr).pixels, nullptr);
  EXPECT_EQ(ConvertToImageView(nullptr).layout, telvar::types::ImageLayout{});
}

TEST(ImageConversion, MovesTheEnginesPixelsToTheHost) {
  const unsigned char pixels[] = {5, 6, 7, 8};
  telvar::types::Image image(2, 2, 2, 1, 8, 0, pixels);
  const unsigned char* const buffer = image.pixels.data();
  const std::shared_ptr<Types::ResultImage> result = ConvertImage(image);
  EXPECT_EQ(result->layout, (Types::ImageLayout{2, 2, 2, 1, 8, 0}));
  EXPECT_EQ(result->pixels.data(), buffer);
  EXPECT_THAT(result->pixels, testing::ElementsAre(5, 6, 7, 8));
  EXPECT_TRUE(image.pixels.empty());
}

TEST(ImageLoaderAdapter, HoldsTheHostsFunctionItself) {
  Types::ImageLoader loader = [](const std::string&) { return HostImage(); };
  const Wrapper::EngineImageLoader adapted = Wrapper::AdaptImageLoader(loader);
  loader = [](const std::string&) { return nullptr; };
  EXPECT_EQ(adapted("image").pixels.size(), 12U);
}

TEST(ImageLoaderAdapter, CarriesProgressAndThreadsToEnginesThatKnowOfThem) {
  std::vector<float> told;
  const Types::ProgressReport report = [&](const Types::Progress& progress) {
    told.insert(told.end(), {progress.fraction, progress.score});
    return progress.fraction < 0.5f;
  };
  const auto load = [](const std::string&) { return HostImage(); };
  const Wrapper::EngineImageLoader adapted =
      Wrapper::AdaptImageLoader(Types::MonitoredLoader(load, report, 3));
  EXPECT_EQ(adapted("image").pixels.size(), 12U);
  const auto* monitored = adapted.target<telvar::types::MonitoredLoader>();
  ASSERT_NE(monitored, nullptr);
  EXPECT_EQ(monitored->threads, 3U);
  monitored->report(0.25, 0.75);
  EXPECT_THROW(monitored->report(0.5, -1), InvalidOperationException);
  EXPECT_THAT(told, testing::ElementsAre(-1, -1, 0.25f, 0.75f, 0.5f, -1));
  const Wrapper::EngineImageLoader silent =
      Wrapper::AdaptImageLoader(Types::MonitoredLoader(load, nullptr));
  EXPECT_FALSE(silent.target<telvar::types::MonitoredLoader>()->report);
}

struct RegionCase {
  const char* name;
  float x, y, angle, skew;
  float m00, m01, m10, m11;  // literals, computed apart from the code
};

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

const RegionCase kRegions[] = {
    {"unturned", 3, -4.5f, 0, 0, 1, -0.0f, 0, 1},
    {"a quarter turn: first axis along +y", 0, 0, 1.57079637f, 0, -4.37113883e-08f, -1, 1,
     -4.37113883e-08f},
    {"turned by 30 degrees", 1, 2, 0.52359879f, 0, 0.866025388f, -0.5f, 0.5f, 0.866025388f},
    {"skewed by 30 degrees", 1, 2, 0, 0.52359879f, 1, -0.5f, 0, 0.866025388f},
    {"turned and skewed", 1, 2, 0.25f, 0.5f, 0.968912423f, -0.681638777f, 0.247403964f,
     0.731688857f},
    {"turned back by its skew", 1, 2, 0.5f, -0.5f, 0.87758255f, -0.0f, 0.47942555f, 1},
    // Only in single precision does the sum lose the skew, and the matrix stay orthogonal.
    {"skewed by less than its angle can hold", 0, 0, 10000, 0.0003f, -0.952155352f, 0.305614382f,
     -0.305614382f, -0.952155352f},
    {"no number", kNan, 1, kNan, 0, kNan, kNan, kNan, kNan},
    {"infinite", kInfinity, -kInfinity, 0, kInfinity, 1, kNan, 0, kNan},
};

/// Equal as a host sees it: the sign of zero counts, one NaN is like another; one unit in the last
/// place is left to the C library's sine and cosine.
testing::AssertionResult Same(float value, float expected) {
  if (std::isnan(value) && std::isnan(expected)) return testing::AssertionSuccess();
  if (std::signbit(value) == std::signbit(expected) &&
      (value == expected || std::nextafter(value, expected) == expected)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << value << " instead of " << expected;
}

bool SameBits(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

TEST(RegionConversion, GivesTheMatrixAndTheSizeForProcessing) {
  for (const RegionCase& c : kRegions) {
    SCOPED_TRACE(c.name);
    const auto roi = std::make_shared<Types::ROI>(c.x, c.y, c.angle, c.skew, 7U, 0xFFFFFFFFU);
    const auto [t, size] = ConvertToEngineRegion(roi);
    EXPECT_TRUE(Same(t.a, c.m00));
    EXPECT_TRUE(Same(t.b, c.m01));
    EXPECT_TRUE(SameBits(t.c, c.x));
    EXPECT_TRUE(Same(t.d, c.m10));
    EXPECT_TRUE(Same(t.e, c.m11));
    EXPECT_TRUE(SameBits(t.f, c.y));
    EXPECT_EQ(size.width, 7U);
    EXPECT_EQ(size.height, 0xFFFFFFFFU);
  }
}

TEST(RegionConversion, PutsTheSameNumbersIntoTheMessage) {
  for (const RegionCase& c : kRegions) {
    SCOPED_TRACE(c.name);
    const auto roi = std::make_shared<Types::ROI>(c.x, c.y, c.angle, c.skew, 7U, 0xFFFFFFFFU);
    const auto [t, size] = ConvertToEngineRegion(roi);
    telvar_msg::types::RegionOfInterest message;
    ASSERT_TRUE(message.ParseFromString(ConvertROI(roi).SerializeAsString()));
    const auto& matrix = message.affine_transform();
    EXPECT_TRUE(SameBits(matrix.m00(), t.a));
    EXPECT_TRUE(SameBits(matrix.m01(), t.b));
    EXPECT_TRUE(SameBits(matrix.tx(), t.c));
    EXPECT_TRUE(SameBits(matrix.m10(), t.d));
    EXPECT_TRUE(SameBits(matrix.m11(), t.e));
    EXPECT_TRUE(SameBits(matrix.ty(), t.f));
    EXPECT_EQ(message.width(), size.width);
    EXPECT_EQ(message.height(), size.height);
  }
}

TEST(RegionConversion, ComputesInNoModeOfTheHosts) {
  for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    for (int i = -20; i <= 20; ++i) {
      const float angle = 0.15f * static_cast<float>(i), skew = 0.01f * static_cast<float>(i * i);
      const auto roi = std::make_shared<Types::ROI>(1.f, 2.f, angle, skew, 7U, 8U);
      const telvar::types::AffineTransform usual = ConvertToEngineRegion(roi).transform;
      std::fesetround(rounding);
      const telvar::types::AffineTransform t = ConvertToEngineRegion(roi).transform;
      EXPECT_EQ(std::fegetround(), rounding);
      std::fesetround(FE_TONEAREST);
      EXPECT_TRUE(SameBits(t.a, usual.a) && SameBits(t.b, usual.b) && SameBits(t.d, usual.d) &&
                  SameBits(t.e, usual.e))
          << "rounding mode " << rounding << ", angle " << angle;
    }
  }
}

TEST(RegionConversion, TakesTheWholeImageWithoutARegion) {
  const auto [t, size] = ConvertToEngineRegion(nullptr);
  EXPECT_THAT((std::vector<float>{t.a, t.b, t.c, t.d, t.e, t.f}),
              testing::ElementsAre(1, 0, 0, 0, 1, 0));
  EXPECT_EQ(size.width + size.height, 0U);
}

TEST(RegionConversion, LeavesARegionWithoutExtentWhereItIs) {
  for (const auto& [width, height] : {std::pair(0U, 0U), {0U, 5U}, {5U, 0U}}) {
    const auto roi = std::make_shared<Types::ROI>(Types::ROI{3, 4, 0, 0, width, height});
    const auto [t, size] = ConvertToEngineRegion(roi);
    EXPECT_EQ(t.c, 3);
    EXPECT_EQ(t.f, 4);
    EXPECT_EQ(size.width, width);
    EXPECT_EQ(size.height, height);
  }
}

TEST(CommonDataset, IsEmptyForAnEmptyBatch) {
  EXPECT_EQ(Wrapper::ConvertCommonDataset({}).SerializeAsString(), "");
}

TEST(CommonDataset, KeepsKeysAndImageIdentifiersApart) {
  Types::CommonDataSet batch;
  batch.samples["first"].imageId = "image";
  batch.samples["second"].imageId = "image";
  batch.samples[""].imageId = "";
  batch.samples[OddBytes()].imageId = OddBytes();
  telvar_msg::common::Dataset message;
  ASSERT_TRUE(message.ParseFromString(Wrapper::ConvertCommonDataset(batch).SerializeAsString()));
  ASSERT_EQ(message.samples_size(), 4);
  for (const auto& [key, sample] : batch.samples) {
    EXPECT_EQ(message.samples().at(key).image_id(), sample.imageId);
  }
}

TEST(CommonDataset, KeepsTheLaterSampleOfOneKey) {
  telvar_msg::common::Dataset message;
  Wrapper::AddCommonSample(message, {"key", Types::CommonSample("first")});
  Wrapper::AddCommonSample(message, {"key", Types::CommonSample("second")});
  ASSERT_EQ(message.samples_size(), 1);
  EXPECT_EQ(message.samples().at("key").image_id(), "second");
}

}  // namespace
}  // namespace Orbalt::TelvarWrapper::Tests

// Text, labels, regions and base64.

#include <gmock/gmock.h>

#include <cmath>

#include "app/base64.h"
#include "app/label.h"
#include "app/region.h"
#include "app/text.h"

namespace telvar_host {
namespace {

TEST(Text, BytesThatAreNoUtf8StayDistinctAndComeBack) {
  for (const std::string text :
       {"A\xC3\x84\xE2\x82\xAC\xF0\x9F\x98\x80", "\xFF\xC3", "\xED\xB3\xBF", "\xC0\x80"}) {
    std::string back;
    for (const auto point : code_points(text)) back += utf8_of(point);
    EXPECT_EQ(back, text);
  }
  EXPECT_NE(code_points("\xFF"), code_points("\xED\xB3\xBF"));
}

TEST(Label, IsTheSameHoweverItWasTyped) {
  EXPECT_EQ(clean_label("  e\xCC\x81 b\xC2\xA0\t"), "\xC3\xA9 b");
  EXPECT_EQ(clean_label("\xFF x "), "\xFF x");
  EXPECT_EQ(clean_label(" \xE3\x80\x80"), "");
  EXPECT_EQ(normal_form(" e\xCC\x81"), " \xC3\xA9");
  EXPECT_EQ(look_of("Gut  GENUG"), look_of("gut genug"));
  EXPECT_EQ(look_of("\xD0\x90"), look_of("A"));      // Cyrillic
  EXPECT_EQ(look_of("\xEF\xBC\xA1"), look_of("A"));  // full width
  EXPECT_NE(look_of("a"), look_of("A"));
  EXPECT_NE(look_of("0"), look_of("O"));
  EXPECT_NE(look_of("\xFF\xFE"), look_of("\xFE\xFF"));
}

TEST(Region, PixelsComeBackThroughTheImage) {
  const auto region = parse_region("10.5,-3,30,-12,400,60");
  const auto [x, y] = region.to_image(17, 5);
  const auto [u, v] = region.to_region(x, y);
  EXPECT_NEAR(u, 17, 1e-9);
  EXPECT_NEAR(v, 5, 1e-9);
  // The second axis points at angle + skew + 90 degrees.
  const auto down = region.to_image(0, 1);
  EXPECT_NEAR(std::atan2(down.second + 3, down.first - 10.5),
              (30 - 12 + 90) * 3.14159265358979 / 180, 1e-9);
}

TEST(Html, Base64) {
  EXPECT_EQ(to_base64(""), "");
  EXPECT_EQ(to_base64("f"), "Zg==");
  EXPECT_EQ(to_base64("fo"), "Zm8=");
  EXPECT_EQ(to_base64("foo"), "Zm9v");
  for (const std::string bytes : {"", "f", "fo", "foo", "\xFF\x01"}) {
    EXPECT_EQ(from_base64(to_base64(bytes)), bytes);
  }
  EXPECT_EQ(from_base64("Zm 9v\n"), "foo");
  for (const char* wrong : {"Zm9", "Zm9-", "Z=9v", "===="})
    EXPECT_FALSE(from_base64(wrong)) << wrong;
}

}  // namespace
}  // namespace telvar_host

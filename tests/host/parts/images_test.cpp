// Text as the program draws it.

#include <gmock/gmock.h>

#include <opencv2/core.hpp>

#include "images/drawn_text.h"

namespace telvar_host {
namespace {

// In any script: other letters, other pixels. Without fonts or Pango all are question marks.
TEST(DrawnText, TellsWordsApart) {
  const auto drawn = [](const char* text) { return drawn_text(text); };
  EXPECT_GT(cv::countNonZero(drawn("Ag")), 20);
  EXPECT_GT(drawn("long word").cols, drawn("i").cols);
  EXPECT_FALSE(drawn("").empty());
  EXPECT_FALSE(drawn("a\xFF\n\x01").empty());
  EXPECT_LE(drawn(std::string(100000, 'w').c_str()).cols, 8192);
#ifdef TELVAR_PANGO
  const cv::Mat cyrillic = drawn("\xD0\x96"), greek = drawn("\xCE\xA9");
  EXPECT_TRUE(cyrillic.size() != greek.size() || cv::norm(cyrillic, greek) > 100);
#endif
}

}  // namespace
}  // namespace telvar_host

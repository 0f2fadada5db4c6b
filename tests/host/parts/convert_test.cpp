// Outlines and annotations of other programs.

#include <gmock/gmock.h>

#include <opencv2/core.hpp>

#include "convert/annotations.h"
#include "convert/outlines.h"

namespace telvar_host {
namespace {

TEST(Outlines, FilledAgainAreTheMask) {
  // Parts that touch at a corner, a hole with an island, and what lies at the edges.
  const std::vector<std::string> rows = {"##......#", "##.####.#", "..######.", "..#....#.",
                                         "..#.##.##", "..#....##", "..######.", "#.......#"};
  cv::Mat mask(static_cast<int>(rows.size()), 9, CV_8U);
  for (int y = 0; y < mask.rows; ++y) {
    for (int x = 0; x < mask.cols; ++x) mask.at<unsigned char>(y, x) = rows[y][x] == '#' ? 255 : 0;
  }
  Shape shape;
  shape.polygons = outlines_of(mask, 0);
  cv::Mat filled = cv::Mat::zeros(mask.size(), CV_8U);
  for (const auto& polygon : shape.polygons) {
    Shape part;
    part.polygons = {polygon};
    fill_shape(filled, part, "mask");
  }
  EXPECT_EQ(cv::countNonZero(filled != mask), 0);
}

TEST(Labels, OfLabelmeWithoutAShapeTypeArePolygons) {
  for (const std::string type : {"", R"("shape_type": null,)"}) {
    const auto image = parse_labelme(R"({"imagePath": "..\\a.png", "shapes": [{"label": "x",)" +
                                         type + R"("points": [[1, 0], [4, 0], [4, 5]]}]})",
                                     "l", "b");
    EXPECT_EQ(image.file, "b/../a.png");
    ASSERT_EQ(image.shapes.size(), 1U);
    EXPECT_EQ(image.shapes[0].polygons.size(), 1U);
    EXPECT_EQ(image.shapes[0].box, cv::Rect2d(1, 0, 3, 5));
  }
}

}  // namespace
}  // namespace telvar_host

// What the segmenter learns: from every pixel layout, from regions, and on top of what it knows.

#include <gtest/gtest.h>

#include "../support/resources.h"
#include "scene.h"

namespace telvar::segmenter_test {
namespace {

using test::cpu_of;

TEST(Segmenter, LearnsHuesFromTurnedRegionsOfSixteenBitImagesWithFourChannels) {
  const Look look{4, 16, true, true};
  const Scenes scenes = make_scenes(6, 1, {"green", "red"}, look);
  const std::string artifact = std::get<1>(train(in_turned_regions(scenes)));
  const auto iou = measure(artifact, make_scenes(10, 99, {"green", "red"}, look));
  EXPECT_GT(iou.at("green"), 0.8);
  EXPECT_GT(iou.at("red"), 0.8);
}

TEST(Segmenter, LearnsANewCategoryAndKeepsTheOldOnes) {
  const Scenes unseen = make_scenes(10, 99, {"disc", "square"});
  std::string first, both;
  const double from_nothing =
      cpu_of([&] { first = std::get<1>(train(make_scenes(6, 1, {"disc"}))); });
  const double before = measure(first, unseen).at("disc");
  // The new images have discs, too, but nobody marks them.
  const double going_on =
      cpu_of([&] { both = std::get<1>(train(make_scenes(6, 2, {"square"}), first)); });
  EXPECT_LT(going_on, 0.7 * from_nothing);
  const auto iou = measure(both, unseen);
  EXPECT_GT(before, 0.8);
  EXPECT_GE(iou.at("disc"), before - 0.05);
  EXPECT_GT(iou.at("square"), 0.7);
}

}  // namespace
}  // namespace telvar::segmenter_test

// Which exceptions of a loader are given the name of what was asked for.

#include "core/loading.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "telvar/exceptions.h"

namespace telvar::test {
namespace {

/// A host may derive from the engine's classes; what it throws stays its own.
struct HostImageError : types::invalid_image {
  using invalid_image::invalid_image;
};

/// The text with which an exception of exactly this type leaves `load_image`.
template <class Exception>
std::string text_of(const Exception& thrown) {
  try {
    core::load_image([&](const std::string&) -> types::Image { throw thrown; }, "7", "image '7'");
  } catch (const Exception& caught) {
    return typeid(caught) == typeid(Exception) ? caught.what() : "another type";
  }
  return "nothing";
}

TEST(Loading, NamesWhatTheImageItselfRefusesAndNothingElse) {
  EXPECT_EQ(text_of(types::invalid_image("odd")), "image '7': odd");
  EXPECT_EQ(text_of(types::invalid_image_size("large")), "image '7': large");
  EXPECT_EQ(text_of(HostImageError("mine")), "mine");
  EXPECT_EQ(text_of(types::read_error("missing")), "missing");
  EXPECT_EQ(text_of(std::runtime_error("host")), "host");
}

TEST(Loading, GivesTheImageThatTheLoaderGives) {
  const unsigned char pixel = 9;
  const auto image = core::load_image(
      [&](const std::string& id) {
        EXPECT_EQ(id, "7");
        return types::Image(1, 1, 1, 1, 8, 0, &pixel);
      },
      "7", "image '7'");
  EXPECT_EQ(image.pixels.at(0), 9);
}

}  // namespace
}  // namespace telvar::test

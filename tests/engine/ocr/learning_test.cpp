// Readers trained on images unlike the clean gray pages of the other tests.

#include <gmock/gmock.h>

#include <cmath>
#include <map>

#include "ocr/state.h"
#include "pages.h"

namespace telvar::test {
namespace {

std::string train_artifact(const PageSet& set, const std::string& from = "") {
  const auto cache = qv::ocr::TrainCache::create(0);
  return std::get<1>(qv::ocr::train(from, set.dataset(), "", set.loader(), *cache));
}

qv::ocr::Model reader_of(const std::string& artifact) {
  return {artifact, runtime_size(), types::CpuDevice()};
}

qv::ocr::Model train_reader(const PageSet& set) {
  return reader_of(train_artifact(set));
}

TEST(ReaderTraining, OnBothPolaritiesReadsBoth) {
  PageSet set;
  PageStyle dark, bright;
  bright.bright = true;
  dark.columns = bright.columns = 5;
  for (std::uint64_t page = 0; page < 4; ++page) {
    set.add("page-" + std::to_string(page), draw_page(page, page % 2 == 0 ? dark : bright));
  }
  const qv::ocr::Model reader = train_reader(set);
  EXPECT_GE(exact_lines(reader, dark, 100, 20), 0.9);
  EXPECT_GE(exact_lines(reader, bright, 100, 20), 0.9);
}

/// Pages of some letters, labelled as `meaning` has them.
PageSet pages_of(const std::string& alphabet, std::uint64_t seed,
                 std::map<std::string, std::string> meaning = {}) {
  PageSet set;
  PageStyle style;
  style.alphabet = alphabet;
  for (std::uint64_t i = 0; i < 4; ++i) {
    Page page = draw_page(seed + i, style);
    for (DrawnCharacter& character : page.characters) {
      const auto other = meaning.find(character.category);
      if (other != meaning.end()) character.category = other->second;
    }
    set.add("page-" + std::to_string(i), page);
  }
  return set;
}

std::string bytes_of(const ocr::Expert& expert) {
  core::ByteWriter writer;
  write_expert(writer, expert);
  return writer.bytes();
}

TEST(ReaderTraining, OnMarksThatContradictWhatWasLearnedLeavesThatAsItIs) {
  const std::string first = train_artifact(pages_of("147L", 0));
  const std::string both =
      train_artifact(pages_of("147L", 20, {{"1", "7"}, {"7", "1"}, {"4", "L"}, {"L", "4"}}), first);
  const auto experts = ocr::read_state(both).experts;
  ASSERT_EQ(experts.size(), 2u);
  EXPECT_TRUE(bytes_of(experts[0]) == bytes_of(ocr::read_state(first).experts[0]));
}

TEST(ReaderTraining, GoesOnWithTheExpertThatKnowsTheMarks) {
  ocr::ReaderState state = ocr::read_state(train_artifact(pages_of("147", 0)));
  state.experts.push_back(ocr::read_state(train_artifact(pages_of("HX", 20))).experts[0]);
  const std::string two = ocr::write_state(state);
  PageStyle digits, letters;
  digits.alphabet = "147";
  letters.alphabet = "HX";
  EXPECT_GE(exact_lines(reader_of(two), digits), 0.9);
  EXPECT_GE(exact_lines(reader_of(two), letters), 0.9);
  const auto after = ocr::read_state(train_artifact(pages_of("HX", 40), two));
  ASSERT_EQ(after.experts.size(), 2u);
  EXPECT_TRUE(bytes_of(after.experts[0]) == bytes_of(state.experts[0]));
  EXPECT_EQ(after.categories(), (std::vector<std::string>{"1", "4", "7", "H", "X"}));
}

constexpr unsigned kImageSide = 240;

/// Page pixels to image pixels: the page turned about its centre, off the image's.
types::AffineTransform placed(const types::Image& page, float degrees) {
  const float cosine = std::cos(degrees * 3.14159265f / 180);
  const float sine = std::sin(degrees * 3.14159265f / 180);
  const float x = float(page.layout[0] - 1) / 2, y = float(page.layout[1] - 1) / 2;
  return {cosine, -sine, 132 - cosine * x + sine * y, sine, cosine, 109 - sine * x - cosine * y};
}

/// An image full of copies of the page, one of which lies where `place`, a rotation, puts it.
types::Image image_full_of(const types::Image& page, const types::AffineTransform& place) {
  const int width = int(page.layout[0]), height = int(page.layout[1]);
  std::vector<unsigned char> pixels;
  for (unsigned row = 0; row < kImageSide; ++row) {
    for (unsigned column = 0; column < kImageSide; ++column) {
      const float dx = float(column) - place.c, dy = float(row) - place.f;
      const int x = int(std::lround(place.a * dx + place.d * dy)) + 4 * width;
      const int y = int(std::lround(place.b * dx + place.e * dy)) + 4 * height;
      pixels.push_back(page.pixels[std::size_t(y % height * width + x % width)]);
    }
  }
  return types::Image(kImageSide, kImageSide, kImageSide, 1, 8, 0, pixels.data());
}

TEST(ReaderTraining, OnTurnedRegionsOfThreeWideColourImagesReadsPagesThatItHasNotSeen) {
  PageSet set;
  const float turns[] = {33, -28, 160};
  for (std::uint64_t i = 0; i < 3; ++i) {
    Page page = draw_page(10 + i);
    const types::AffineTransform place = placed(page.image, turns[i]);
    auto& region =
        *(*set.message.mutable_samples())[std::to_string(i)].mutable_region_of_interest();
    region.set_width(page.image.layout[0]);
    region.set_height(page.image.layout[1]);
    auto& transform = *region.mutable_affine_transform();
    transform.set_m00(place.a);
    transform.set_m01(place.b);
    transform.set_tx(place.c);
    transform.set_m10(place.d);
    transform.set_m11(place.e);
    transform.set_ty(place.f);
    page.image = as_wide_colour(image_full_of(page.image, place), 4, 4);
    set.add(std::to_string(i), page);
  }
  EXPECT_GE(exact_lines(train_reader(set), {}, 100, 20), 0.9);
}

}  // namespace
}  // namespace telvar::test

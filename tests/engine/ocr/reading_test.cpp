// What a trained reader reads. One training serves all tests here.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <thread>

#include "ocr/experts/inference.h"
#include "ocr/state.h"
#include "pages.h"

namespace telvar::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAreArray;
using ::testing::FloatNear;
using ::testing::Ge;
using ::testing::Le;
using ::testing::Pointwise;

/// Labels about two characters in three: a page on which some characters carry no label.
bool labelled(std::size_t i) {
  return i % 3 != 2;
}

struct Trained {
  Trained() {
    for (std::uint64_t page = 0; page < 8; ++page) {
      set.add("page-" + std::to_string(page), draw_page(page), labelled);
    }
    const auto cache = qv::ocr::TrainCache::create(1 << 20);
    auto [answer, bytes] = qv::ocr::train("", set.dataset(), "", set.loader(), *cache);
    result.ParseFromString(answer);
    artifact = bytes;
  }
  PageSet set;
  msg::TrainingResult result;
  std::string artifact;
};

const Trained& trained() {
  static const Trained instance;
  return instance;
}

const qv::ocr::Model& model() {
  static const qv::ocr::Model instance(trained().artifact, runtime_size(), types::CpuDevice());
  return instance;
}

TEST(Reader, ReadsPagesThatItHasNotSeenAlthoughAThirdOfItsTrainingHadNoLabels) {
  EXPECT_GE(exact_lines(model(), {}), 0.9);
}

TEST(Reader, ReadsOtherSizesSlantsAndLayouts) {
  for (const auto& [scale, slant] :
       {std::pair{0.7f, 0.0f}, {1.4f, 0.0f}, {1.0f, -15.0f}, {1.0f, 15.0f}}) {
    PageStyle style;
    style.scale = scale;
    style.slant = slant;
    EXPECT_GE(exact_lines(model(), style, 100, 20), 0.9)
        << "scale " << scale << ", slant " << slant;
  }
  PageStyle large;
  large.lines = 6;
  large.columns = 20;
  EXPECT_GE(exact_lines(model(), large, 200, 1), 0.8);
}

TEST(Reader, TakesAnotherSizeAtRunTimeThanAtTraining) {
  PageStyle style;
  style.scale = 2;
  const qv::ocr::Model twice(trained().artifact,
                             runtime_size(2 * kCharacterWidth, 2 * kCharacterHeight),
                             types::CpuDevice());
  EXPECT_GE(exact_lines(twice, style), 0.8);
}

TEST(Reader, PlacesAndScoresAreWhatTheMessageSays) {
  const Page page = draw_page(300);
  const msg::SampleResult sample = read(model(), page.image);
  ASSERT_THAT(texts(sample), ElementsAreArray(page.lines));
  ASSERT_EQ(sample.characters_size(), int(page.characters.size()));
  double sum_of_best = 0;
  float lowest = 1;
  for (int i = 0; i < sample.characters_size(); ++i) {
    const msg::CharacterResult& character = sample.characters(i);
    const DrawnCharacter& drawn = page.characters[std::size_t(i)];
    EXPECT_NEAR(character.first_value(), drawn.x, 2.5);
    EXPECT_NEAR(character.second_value(), drawn.y, 2.5);
    EXPECT_THAT(character.third_value(), AllOf(Ge(0.3f), Le(1.0f)));
    ASSERT_EQ(character.category_scores_size(), 6);
    double sum = 0;
    for (int k = 0; k < 6; ++k) {
      if (k > 0) {
        EXPECT_LE(character.category_scores(k).score(), character.category_scores(k - 1).score());
      }
      sum += character.category_scores(k).score();
    }
    EXPECT_THAT(sum, AllOf(Ge(0.99), Le(1.0)));
    sum_of_best += character.category_scores(0).score();
    lowest = std::min(lowest, character.category_scores(0).score());
  }
  EXPECT_NEAR(sample.first_value(), sum_of_best / sample.characters_size(), 1e-5);
  EXPECT_EQ(sample.second_value(), lowest);
}

TEST(Reader, ReadsFromSeveralThreadsAtOnceAsFromOne) {
  std::vector<Page> pages;
  std::vector<std::vector<std::string>> alone, beside(3);
  for (std::uint64_t i = 0; i < 3; ++i) {
    pages.push_back(draw_page(500 + i));
    alone.push_back(texts(read(model(), pages.back().image)));
  }
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 3; ++i) {
    threads.emplace_back([&, i] {
      model().process(types::ImageView(pages[i].image), {1, 0, 3, 0, 1, 3}, {4, 4});
      beside[i] = texts(read(model(), pages[i].image));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(beside, alone);
}

TEST(Reader, FindsNothingOnAnEmptyPage) {
  PageStyle empty;
  empty.columns = 0;
  const msg::SampleResult sample = read(model(), draw_page(5, empty).image);
  EXPECT_EQ(sample.characters_size(), 0);
  EXPECT_EQ(sample.lines_size(), 0);
  EXPECT_EQ(sample.first_value(), 0);
  EXPECT_EQ(sample.second_value(), 0);
}

TEST(Reader, ReadsSixteenBitColourAndTurnedRegions) {
  const Page page = draw_page(300);
  for (const int unit : {257, 4}) {  // the whole range, and a camera of 10 bits
    EXPECT_THAT(texts(read(model(), as_wide_colour(page.image, unit))),
                ElementsAreArray(page.lines));
  }

  // The page stored upside down; a region turned by half a circle puts it right.
  types::Image turned = page.image;
  std::reverse(turned.pixels.begin(), turned.pixels.end());
  const float width = float(turned.layout[0]), height = float(turned.layout[1]);
  msg::Result result;
  result.ParseFromString(model().process(types::ImageView(turned),
                                         {-1, 0, width - 1, 0, -1, height - 1},
                                         {turned.layout[0], turned.layout[1]}));
  EXPECT_THAT(texts(result.sample()), ElementsAreArray(page.lines));
}

std::vector<ocr::FoundCharacter> found(const types::Image& image, ocr::Precision precision) {
  const ocr::ReaderState state = ocr::read_state(trained().artifact);
  const ocr::Expert& expert = state.experts.front();
  const types::ImageView view(image);
  core::WorkerPool pool(1);
  return decode(ocr::NetworkInference(expert.net, precision)
                    .votes(source_of(view, core::whole_image(view), state.size, "page"), pool),
                expert.spacing);
}

TEST(Reader, ReadsInTheBestPrecisionAsInSinglePrecision) {
  PageStyle large;
  large.lines = 6;
  large.columns = 20;
  const types::Image image = draw_page(200, large).image;
  const auto single = found(image, ocr::Precision::kSingle);
  const auto best = found(image, ocr::Precision::kBest);
  ASSERT_EQ(best.size(), single.size());
  ASSERT_GE(best.size(), 110u);
  for (const ocr::FoundCharacter& one : single) {
    const auto away = [&](const ocr::FoundCharacter& other) {
      return std::hypot(other.x - one.x, other.y - one.y);
    };
    const auto other = std::min_element(
        best.begin(), best.end(), [&](const auto& a, const auto& b) { return away(a) < away(b); });
    EXPECT_LE(away(*other), 0.1f) << "reading pixels";
    EXPECT_EQ(other->best(), one.best());
    EXPECT_THAT(other->scores, Pointwise(FloatNear(0.02f), one.scores));
    EXPECT_NEAR(other->strength, one.strength, 0.01f);
  }
}

TEST(Reader, TrainingReportsLabelsInOrderAndAHeldBackRate) {
  const msg::TrainingResult& result = trained().result;
  ASSERT_EQ(result.labeled_sample_results_size(), 8);
  for (const auto& [id, confidences] : result.labeled_sample_results()) {
    const auto& values = confidences.character_label_confidence();
    ASSERT_EQ(values.size(), trained().set.message.samples().at(id).characters_size());
    for (const float value : values) EXPECT_THAT(value, AllOf(Ge(0.0f), Le(1.0f)));
    EXPECT_GT(std::accumulate(values.begin(), values.end(), 0.0f) / float(values.size()), 0.6f);
  }
  EXPECT_THAT(result.result_value(), AllOf(Ge(0.5f), Le(1.0f)));
}

TEST(Reader, SaysWhenNothingCouldBeHeldOut) {
  const auto rate_of = [](const std::string& artifact, std::uint64_t first, int pages) {
    PageSet set;
    for (std::uint64_t i = first; i < first + pages; ++i) {
      set.add("page-" + std::to_string(i), draw_page(i));
    }
    msg::TrainingResult result;
    const auto cache = qv::ocr::TrainCache::create(0);
    EXPECT_TRUE(result.ParseFromString(
        std::get<0>(qv::ocr::train(artifact, set.dataset(), "", set.loader(), *cache))));
    return result.result_value();
  };
  EXPECT_LT(rate_of("", 0, 1), -0.5f) << "a single image";
  EXPECT_LT(rate_of(trained().artifact, 0, 2), -0.5f) << "images seen before";
  EXPECT_GT(rate_of(trained().artifact, 50, 2), 0.5f) << "two new images";
}

/// Two labels in five say something else than what is drawn, so that even a perfect reader is right
/// about three in five of those it has not seen; one that remembers them is right about more.
TEST(Reader, ClaimsTheRateThatWrongLabelsAllow) {
  PageSet set;
  PageStyle style;
  style.alphabet = "147L";
  std::size_t count = 0;
  for (std::uint64_t i = 0; i < 7; ++i) {
    Page page = draw_page(600 + i, style);
    for (DrawnCharacter& character : page.characters) {
      const std::size_t place = style.alphabet.find(character.category);
      const std::size_t turn = count++ % 5 < 2 ? 1 + count % 3 : 0;
      character.category = style.alphabet.substr((place + turn) % style.alphabet.size(), 1);
    }
    set.add("page-" + std::to_string(i), page);
  }
  msg::TrainingResult result;
  const auto cache = qv::ocr::TrainCache::create(0);
  ASSERT_TRUE(result.ParseFromString(
      std::get<0>(qv::ocr::train("", set.dataset(), "", set.loader(), *cache))));
  EXPECT_NEAR(result.result_value(), 0.6, 0.15);
}

TEST(Reader, ReadsThePolarityThatItsTrainingDidNotShow) {
  PageStyle bright;
  bright.bright = true;
  EXPECT_GE(exact_lines(model(), bright, 100, 20), 0.9);
}

TEST(Reader, GoesOnFromAnArtifactWithoutForgetting) {
  PageSet further;
  PageStyle style;
  style.alphabet = "ATA7T";
  for (std::uint64_t page = 0; page < 3; ++page) {
    further.add("new-" + std::to_string(page), draw_page(400 + page, style));
  }
  const auto cache = qv::ocr::TrainCache::create(0);
  const auto [answer, artifact] =
      qv::ocr::train(trained().artifact, further.dataset(), "", further.loader(), *cache);
  const qv::ocr::Model reader(artifact, runtime_size(), types::CpuDevice());
  constexpr int kPages = 20;
  EXPECT_GE(exact_lines(reader, {}, 100, kPages), exact_lines(model(), {}, 100, kPages) - 0.05)
      << "old categories";
  PageStyle both;
  both.alphabet = "147AHLTX";
  EXPECT_GE(exact_lines(reader, both, 500), 0.8) << "old and new categories";
  EXPECT_EQ(read(reader, draw_page(300).image).characters(0).category_scores_size(), 8);
}

}  // namespace
}  // namespace telvar::test

// What a training refuses before or while it prepares: by type, and by the text that names it.

#include <gtest/gtest.h>

#include <functional>

#include "../support/expect_error.h"
#include "../support/host_state.h"
#include "scene.h"
#include "telvar/exceptions.h"

namespace telvar::segmenter_test {
namespace {

struct Refusal {
  const char* name;
  std::function<void(Scenes&)> spoil;
  const char* text;
};

auto& first_sample(Scenes& scenes) {
  return scenes.dataset.mutable_samples()->begin()->second;
}

types::Image& first_image(Scenes& scenes) {
  return scenes.images.at(first_sample(scenes).image_id());
}

types::Image& first_mask(Scenes& scenes) {
  return scenes.masks.at(first_sample(scenes).image_id() + "/disc");
}

void set_region(Scenes& scenes, float m00, float tx, unsigned width) {
  auto* region = first_sample(scenes).mutable_region_of_interest();
  region->mutable_affine_transform()->set_m00(m00);
  region->mutable_affine_transform()->set_m11(1);
  region->mutable_affine_transform()->set_tx(tx);
  region->set_width(width);
  region->set_height(20);
}

template <class E>
void expect_refusals(const std::vector<Refusal>& refusals) {
  for (const Refusal& refusal : refusals) {
    Scenes scenes = make_scenes(3, 1, {"disc"});
    refusal.spoil(scenes);
    SCOPED_TRACE(refusal.name);
    test::expect_error<E>([&] { train(scenes); }, refusal.text);
  }
}

TEST(Training, RefusesContradictoryDatasets) {
  expect_refusals<types::invalid_dataset>({
      {"no categories", [](Scenes& s) { s.dataset.clear_categories(); }, "no categories"},
      {"a nameless category", [](Scenes& s) { (*s.dataset.mutable_categories())[""]; },
       "without a name"},
      {"a mask of an unlisted category",
       [](Scenes& s) { (*first_sample(s).mutable_category_masks())["dent"] = "m"; },
       "category 'dent', which the dataset does not list"},
      {"too many categories",
       [](Scenes& s) {
         for (int i = 0; i < 64; ++i) (*s.dataset.mutable_categories())[std::to_string(i)];
       },
       "65 categories, the limit is 64"},
      {"a long name", [](Scenes& s) { (*s.dataset.mutable_categories())[std::string(4097, 'n')]; },
       "has 4097 bytes, the limit is 4096"},
      {"too many samples",
       [](Scenes& s) {
         for (int i = 0; i < 1998; ++i) (*s.dataset.mutable_samples())[std::to_string(i)];
       },
       "2001 samples, the limit is 2000"},
      {"a mask of another size",
       [](Scenes& s) { first_mask(s) = gray_image(47, 48, std::vector<unsigned char>(47 * 48)); },
       "of category 'disc': 47 x 48 pixels, but its image has 48 x 48"},
      {"an empty mask", [](Scenes& s) { first_mask(s) = types::Image(); }, "0 x 0 pixels"},
  });
}

TEST(Training, RefusesTooFewSamples) {
  expect_refusals<types::insufficient_number_of_samples>({
      {"two samples",
       [](Scenes& s) { s.dataset.mutable_samples()->erase(s.dataset.samples().begin()->first); },
       "2 samples; at least 3"},
      {"a category that is shown nowhere",
       [](Scenes& s) { (*s.dataset.mutable_categories())["dent"]; },
       "category 'dent' has pixels in 0 samples"},
  });
}

TEST(Training, RefusesBadImagesAndRegionsNamingTheSample) {
  expect_refusals<types::invalid_image>({
      {"contradictory layout", [](Scenes& s) { first_image(s).layout[2] = 5; }, "sample 'scene-1-"},
      {"contradictory mask layout", [](Scenes& s) { first_mask(s).layout[3] = 2; }, "mask 'scene"},
      {"too few pixels", [](Scenes& s) { first_image(s).pixels.resize(9); }, "there are 9"},
      {"too few mask pixels", [](Scenes& s) { first_mask(s).pixels.resize(9); }, "there are 9"},
  });
  expect_refusals<types::invalid_image_size>({
      {"empty", [](Scenes& s) { first_image(s) = types::Image(); }, "sample 'scene-1-"},
      {"small",
       [](Scenes& s) { first_image(s) = gray_image(7, 8, std::vector<unsigned char>(56)); }, "8"},
  });
  expect_refusals<types::invalid_roi>({
      {"singular", [](Scenes& s) { set_region(s, 0, 0, 20); }, "sample 'scene-1-"},
      {"wholly outside", [](Scenes& s) { set_region(s, 1, 500, 20); }, "sample 'scene-1-"},
      {"no extent", [](Scenes& s) { set_region(s, 1, 0, 0); }, "sample 'scene-1-"},
  });
}

TEST(Training, RefusesBytesThatAreNoMessage) {
  const Scenes scenes = make_scenes(3, 1, {"disc"});
  const auto cache = seg::TrainCache::create(false, 0);
  const auto expect = [&](const std::string& dataset, const std::string& parameters,
                          const char* text) {
    test::expect_error<types::invalid_message>(
        [&] {
          seg::train("", dataset, parameters, scenes.loader(), scenes.mask_loader(), *cache, {});
        },
        text);
  };
  expect("\xFF", "", "training dataset: 1 bytes");
  expect(scenes.message(), "\xFF", "training parameters: 1 bytes");
}

TEST(Training, PassesALoadersExceptionAndLeavesTheCache) {
  const Scenes scenes = make_scenes(3, 1, {"disc"});
  const auto cache = seg::TrainCache::create(false, ~0ULL);
  std::ostringstream before, after;
  save(*cache, before);
  int calls = 0;
  const test::HostState host;
  const auto loader = [&](const std::string& id) {
    EXPECT_TRUE(test::HostState::is_kept());
    if (++calls == 3) throw std::out_of_range("no such file");
    return scenes.images.at(id);
  };
  EXPECT_THROW(seg::train("", scenes.message(), "", loader, scenes.mask_loader(), *cache, {}),
               std::out_of_range);
  save(*cache, after);
  EXPECT_EQ(before.str(), after.str());
}

}  // namespace
}  // namespace telvar::segmenter_test

#include <gtest/gtest.h>

#include <sstream>

#include "../support/expect_error.h"
#include "../support/host_state.h"
#include "drawn_images.h"
#include "telvar/exceptions.h"

namespace telvar::test {
namespace {

ImageSet rings_and_crosses(int rings, int crosses) {
  ImageSet set;
  set.add(0, 0, rings);
  set.add(1, 0, crosses);
  return set;
}

const std::string& artifact() {
  static const std::string bytes = train(rings_and_crosses(3, 3), "", 1).artifact;
  return bytes;
}

TEST(ClassifierTraining, NamesWhatItCannotLearnFrom) {
  using types::insufficient_number_of_samples;
  const auto training = [](const ImageSet& set) { return [&set] { train(set); }; };
  expect_error<insufficient_number_of_samples>(training(ImageSet()), "0 samples in the data set");
  expect_error<insufficient_number_of_samples>([] { train(ImageSet(), artifact()); },
                                               "0 samples in the data set");
  expect_error<insufficient_number_of_samples>(training(rings_and_crosses(8, 0)),
                                               "1 categories with samples, the minimum is 2");
  expect_error<insufficient_number_of_samples>(training(rings_and_crosses(2, 2)),
                                               "4 samples, the minimum is 5");
  // Counted before an image is loaded: there are none.
  ImageSet lonely = rings_and_crosses(8, 1), new_kind;
  new_kind.add(2, 0, 1);
  lonely.images.clear(), new_kind.images.clear();
  expect_error<insufficient_number_of_samples>(training(lonely),
                                               "category 'cross' has 1 sample(s), the minimum");
  expect_error<insufficient_number_of_samples>([&] { train(new_kind, artifact()); },
                                               "category 'bar' has 1 sample(s), the minimum");
  ImageSet many = lonely;
  for (int i = 0; i <= 100000; ++i) many.labels["copy " + std::to_string(i)] = "ring";
  expect_error<types::invalid_dataset>(training(many), "samples, the limit is 100000");
  ImageSet unlabelled = rings_and_crosses(4, 4);
  unlabelled.labels["0/2"] = "";
  expect_error<types::invalid_label>(training(unlabelled), "sample 'key 0/2' has no category");
  ImageSet empty_image = rings_and_crosses(4, 4);
  empty_image.images["1/3"] = types::Image();
  expect_error<types::invalid_image_size>(training(empty_image),
                                          "sample 'key 1/3', image '1/3': 0 x 0 px");
  ImageSet wrong_image = rings_and_crosses(4, 4);
  wrong_image.images["1/3"].layout[3] = 2;
  expect_error<types::invalid_image>(training(wrong_image), "sample 'key 1/3', image '1/3'");
  ImageSet short_image = rings_and_crosses(4, 4);
  short_image.images["1/3"].pixels.resize(10);
  expect_error<types::invalid_image>(training(short_image), "image '1/3': the layout asks for");
}

TEST(ClassifierTraining, RefusesMessagesAndParameters) {
  const ImageSet set = rings_and_crosses(3, 3);
  auto cache = engine::TrainCache::create(false);
  const auto training = [&](const std::string& dataset, const std::string& setting) {
    return [&, dataset, setting] { engine::train("", dataset, setting, set.loader(), *cache); };
  };
  expect_error<types::invalid_message>(training("\xFF\xFF", parameters(10)), "data set");
  expect_error<types::invalid_message>(training(set.dataset(), "\xFF\xFF"), "parameters");
  for (const int effort : {0, -1, 101, 2000000000}) {
    expect_error<types::invalid_parameters>(training(set.dataset(), parameters(effort)),
                                            std::to_string(effort) + " is outside 1..100");
  }
  messages::Dataset unlisted;
  unlisted.ParseFromString(set.dataset());
  unlisted.mutable_categories()->erase("ring");
  expect_error<types::invalid_dataset>(training(unlisted.SerializeAsString(), parameters(10)),
                                       "category 'ring' is not among");
  expect_error<types::invalid_message>(
      [&] { engine::process(artifact(), "\xFF\xFF", set.loader(), *cache); }, "batch");
  expect_error<types::invalid_parameters>(
      [] { engine::Model(artifact(), "x", types::CpuDevice()); }, "run-time parameters");
  const class : public types::Device {
  } unknown;
  expect_error<types::invalid_parameters>([&] { engine::Model(artifact(), "", unknown); },
                                          "only the CPU is known");
}

TEST(ClassifierTraining, LetsTheLoadersExceptionPassAndLeavesTheCache) {
  const ImageSet set = rings_and_crosses(3, 3);
  auto cache = engine::TrainCache::create(false);
  std::ostringstream before, after;
  engine::save(*cache, before);
  const auto loader = [&](const std::string& id) {
    if (id == "1/1") throw std::out_of_range("disk gone");
    return set.images.at(id);
  };
  const auto training = [&] { engine::train("", set.dataset(), parameters(1), loader, *cache); };
  expect_error<std::out_of_range>(training, "disk gone");
  engine::save(*cache, after);
  EXPECT_EQ(before.str(), after.str());
}

TEST(ClassifierTraining, CallsTheLoaderAsTheHostHasSetItsThread) {
  const ImageSet set = rings_and_crosses(3, 3);
  auto cache = engine::TrainCache::create(false);
  const HostState host;
  const auto loader = [&](const std::string& id) {
    EXPECT_TRUE(HostState::is_kept());
    return set.images.at(id);
  };
  engine::train(artifact(), set.dataset(), parameters(1), loader, *cache);
  engine::process(artifact(), set.batch(), loader, *cache);
}

TEST(ClassifierModel, NamesBadImagesAndRegions) {
  const engine::Model model(artifact(), "", types::CpuDevice());
  const std::vector<unsigned char> pixels(100);
  const auto process = [&](const types::ImageView& image, const types::AffineTransform& transform,
                           unsigned width, unsigned height) {
    return [&model, image, transform, width, height] {
      model.process(image, transform, types::Size2<unsigned>(width, height));
    };
  };
  constexpr types::AffineTransform identity(1, 0, 0, 0, 1, 0);
  const types::ImageView good(10, 10, 10, 1, 8, 0, pixels.data());
  process(good, identity, 0, 0)();
  expect_error<types::invalid_image_size>(process({0, 0, 0, 0, 0, 0, nullptr}, identity, 0, 0),
                                          "0 x 0 px");
  expect_error<types::invalid_image>(process({10, 10, 10, 1, 8, 0, nullptr}, identity, 0, 0),
                                     "pixels are missing");
  expect_error<types::invalid_roi>(process(good, {1, 0, 50, 0, 1, 0}, 5, 5), "outside");
  expect_error<types::invalid_roi>(process(good, {0, 0, 0, 0, 0, 0}, 5, 5), "singular");
}

TEST(ClassifierModel, RefusesWhatIsNoClassifierArtifact) {
  const auto build = [](const std::string& bytes) {
    return [bytes] { engine::Model(bytes, "", types::CpuDevice()); };
  };
  expect_error<types::invalid_training_artifact>(build(""), "empty");
  expect_error<types::invalid_training_artifact>(build("no artifact at all, but long enough"),
                                                 "artifact");
  expect_error<types::invalid_training_artifact>(
      [] {
        const ImageSet set = rings_and_crosses(3, 3);
        engine::process("", set.batch(), set.loader(), *engine::TrainCache::create(false));
      },
      "empty");
}

}  // namespace
}  // namespace telvar::test

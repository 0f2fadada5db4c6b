// What the reader refuses, and with which text.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "ocr/network/network.h"
#include "ocr/training.h"
#include "pages.h"
#include "telvar/exceptions.h"

namespace telvar::test {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

template <class Exception, class Call>
void expect(const Call& call, const std::string& text) {
  EXPECT_THAT(call, ThrowsMessage<Exception>(HasSubstr(text)));
}

void train(const std::string& dataset, const types::ImageLoader& loader,
           const std::string& parameters = "", const std::string& artifact = "") {
  const auto cache = qv::ocr::TrainCache::create(0);
  qv::ocr::train(artifact, dataset, parameters, loader, *cache);
}

/// Trains on a page whose message `change` has spoilt.
template <class Exception>
void expect_untrainable(const std::function<void(msg::Dataset&)>& change, const std::string& text) {
  PageSet set;
  set.add("page", draw_page(1));
  change(set.message);
  expect<Exception>([&] { train(set.dataset(), set.loader()); }, text);
}

msg::Sample& sample(msg::Dataset& dataset) {
  return (*dataset.mutable_samples())["page"];
}

TEST(ReaderErrors, OfDataSets) {
  const PageSet none;
  expect<types::invalid_message>([&] { train("\xff\xff", none.loader()); }, "data set");
  PageSet page;
  page.add("page", draw_page(1));
  expect<types::invalid_message>([&] { train(page.dataset(), page.loader(), "\xff"); },
                                 "training parameters");
  expect<types::invalid_training_artifact>(
      [&] { train(page.dataset(), page.loader(), "", "nonsense"); }, "OCR artifact");
  for (const float width : {0.0f, 3.9f, 5000.0f, kNotANumber, -INFINITY}) {
    expect_untrainable<types::invalid_parameters>([&](auto& d) { d.set_width(width); }, "width");
  }
  expect_untrainable<types::invalid_parameters>([](auto& d) { d.set_height(500); }, "8-fold");
  expect_untrainable<types::insufficient_number_of_samples>(
      [](auto& d) { sample(d).mutable_characters()->DeleteSubrange(2, 10); },
      "2 labelled characters, at least 3");
  expect_untrainable<types::insufficient_number_of_samples>([](auto& d) { d.clear_samples(); },
                                                            "0 labelled characters");
  expect_untrainable<types::invalid_dataset>(
      [](auto& d) {
        for (int i = 0; i < 65536; ++i) {
          *sample(d).add_characters() = sample(d).characters(0);
        }
      },
      "sample 'page' has 65548 labels, the limit is 65536");
  expect_untrainable<types::invalid_dataset>([](auto& d) { d.clear_categories(); },
                                             "not among the data set's categories");
}

TEST(ReaderErrors, OfLabels) {
  const auto place = [](float x, float y) {
    return [=](msg::Dataset& d) {
      sample(d).mutable_characters(3)->set_first_value(x);
      sample(d).mutable_characters(3)->set_second_value(y);
    };
  };
  expect_untrainable<types::invalid_label>(place(kNotANumber, 5), "sample 'page', label 3");
  expect_untrainable<types::invalid_label>(place(5, 1e6f), "label 3: (5, 1e+06) lies outside");
  expect_untrainable<types::invalid_label>(place(-1, 5), "outside the region of 170 x 98 pixels");
  expect_untrainable<types::invalid_label>(place(169.6f, 5), "(169.6, 5) lies outside");
  expect_untrainable<types::invalid_label>(
      [](auto& d) { sample(d).mutable_characters(3)->clear_category_id(); }, "no category");
}

TEST(ReaderErrors, OfTrainingImagesLeaveTheHostsExceptionAlone) {
  PageSet set;
  set.add("page", draw_page(1));
  expect<types::invalid_image_size>(
      [&] { train(set.dataset(), [](const auto&) { return types::Image(); }); }, "image 'page'");
  expect<std::out_of_range>(
      [&] {
        train(set.dataset(), [](const auto&) -> types::Image { throw std::out_of_range("h"); });
      },
      "h");
  expect_untrainable<types::invalid_roi>(
      [](auto& d) {
        auto& region = *sample(d).mutable_region_of_interest();
        region.set_width(50);
        region.set_height(50);
      },
      "image 'page'");
}

TEST(ReaderErrors, OfModelsAndTheirImages) {
  PageSet set;
  set.add("page", draw_page(1));
  ocr::ReaderState state;
  state.size = {kCharacterWidth, kCharacterHeight};
  core::Random random({1});
  ocr::Expert expert{{"A"}, ocr::Spacing(1), ocr::make_network(1, random), {}};
  state.experts = {expert};
  const std::string artifact = ocr::write_state(state);
  const auto build = [&](const std::string& size) {
    return qv::ocr::Model(artifact, size, types::CpuDevice(1));
  };
  expect<types::invalid_message>([&] { build("\xff"); }, "runtime parameters");
  expect<types::invalid_parameters>([&] { build(""); }, "runtime size: the character width");
  expect<types::invalid_parameters>([&] { build(runtime_size(20, kNotANumber)); }, "height");

  const qv::ocr::Model model = build(runtime_size());
  const types::Image page = draw_page(1).image;
  const auto process = [&](const types::ImageView& view, types::AffineTransform t,
                           types::Size2<unsigned> size) { model.process(view, t, size); };
  const types::AffineTransform identity{1, 0, 0, 0, 1, 0};
  expect<types::invalid_image_size>(
      [&] {
        process(types::ImageView(3, 9, 3, 1, 8, 0, page.pixels.data()), identity, {0, 0});
      },
      "image");
  expect<types::invalid_image>(
      [&] {
        process(types::ImageView(9, 9, 5, 1, 8, 0, page.pixels.data()), identity, {0, 0});
      },
      "image");
  const types::ImageView view(page);
  expect<types::invalid_roi>([&] { process(view, {1, 0, 5000, 0, 1, 0}, {20, 20}); }, "image");
  expect<types::invalid_roi>([&] { process(view, {0, 0, 0, 0, 0, 0}, {20, 20}); }, "image");
  expect<types::invalid_image_size>(
      [&] {
        process(view, {1e-3f, 0, 0, 0, 1e-3f, 0}, {16384, 16384});
      },
      "characters of the nominal size");
}

}  // namespace
}  // namespace telvar::test

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "classifier/inference.h"
#include "classifier/result.h"
#include "classifier/state.h"
#include "core/library_threads.h"
#include "core/messages.h"
#include "core/refusals.h"
#include "core/regions.h"
#include "core/sampling.h"
#include "telvar/classifier.h"

namespace telvar::qv::classifier {
namespace {

namespace engine = telvar::classifier;

/// The pixels of a region as an image of their own, gray or RGB, of the same depth.
types::Image cut_out(const types::ImageView& image, const core::Region& region) {
  const bool colour = core::has_colour(image);
  const core::Raster raster =
      core::sample(image, region, colour ? core::Colour::kRgb : core::Colour::kGray);
  const unsigned channels = static_cast<unsigned>(raster.channels);
  const unsigned bytes = image.layout[4] / 8;
  const float white = bytes == 1 ? 255.0f : 65535.0f;
  std::vector<unsigned char> pixels(raster.values.size() * bytes);
  for (std::size_t i = 0; i < raster.plane_size(); ++i) {
    for (unsigned c = 0; c < channels; ++c) {
      // The weights of a mean of many samples may add up to a little more than 1.
      const float value = std::min(raster.plane(static_cast<int>(c))[i], 1.0f);
      const auto level = static_cast<std::uint16_t>(value * white + 0.5f);
      unsigned char* out = pixels.data() + (i * channels + c) * bytes;
      if (bytes == 1) {
        *out = static_cast<unsigned char>(level);
      } else {
        std::copy_n(reinterpret_cast<const unsigned char*>(&level), 2, out);
      }
    }
  }
  const auto width = static_cast<unsigned>(region.width);
  return types::Image(width, static_cast<unsigned>(region.height), width * channels * bytes,
                      channels, 8 * bytes, colour ? 2 : 0, pixels.data());
}

/// The region's pixels where they lie, if it is a rectangle of the image's own pixels.
std::optional<types::ImageView> find_in(const types::ImageView& image, const core::Region& region) {
  const auto& t = region.transform;
  const auto [width, height, stride, channels, bits, order] = image.layout;
  const auto fits = [](float first, int extent, unsigned side) {
    return first >= 0 && first == std::floor(first) && double(first) + extent <= side;
  };
  const bool upright = t.a == 1 && t.b == 0 && t.d == 0 && t.e == 1;
  if (!upright || !fits(t.c, region.width, width) || !fits(t.f, region.height, height)) {
    return std::nullopt;
  }
  return types::ImageView(static_cast<unsigned>(region.width), static_cast<unsigned>(region.height),
                          stride, channels, bits, order,
                          image.pixels + static_cast<std::size_t>(t.f) * stride +
                              static_cast<std::size_t>(t.c) * channels * (bits / 8));
}

}  // namespace

class Model::Impl {
 public:
  Impl(const std::string& artifact, unsigned threads)
      : pool_(threads), state_(engine::read_state(artifact, pool_)) {
    engine::prepare_for_inference(state_);
  }

  std::string process(const types::ImageView& image, const types::AffineTransform& transform,
                      const types::Size2<unsigned>& size) const {
    core::check_image(image, "image");
    const core::Region region = core::resolve_region(image, transform, size, "image");
    const engine::Thumbnail thumbnail = thumbnail_of(image, region);
    const engine::Sample sample = engine::letterbox(thumbnail, state_.canvas);
    const engine::Matrix scores = engine::scores_of(state_, {&sample}, pool_);
    telvar_msg::qv::classification::Result result;
    *result.mutable_sample() = engine::sample_result(state_.categories, scores.row(0));
    return core::serialised(result, "classifying an image");
  }

 private:
  engine::Thumbnail thumbnail_of(const types::ImageView& image, const core::Region& region) const {
    const int side = state_.canvas.thumbnail_side;
    if (const auto pixels = find_in(image, region)) return engine::make_thumbnail(*pixels, side);
    const types::Image cut = cut_out(image, region);
    return engine::make_thumbnail(types::ImageView(cut), side);
  }

  mutable core::WorkerPool pool_;
  engine::ClassifierState state_;
};

Model::Model(const std::string& artifact, const std::string& runtime_parameters,
             const types::Device& device) {
  const core::LibraryThreadScope scope;
  if (!runtime_parameters.empty()) {
    throw core::no_parameters_known("classifier", runtime_parameters);
  }
  impl_ = std::make_unique<Impl>(artifact, core::threads_of(device));
}

Model::~Model() = default;

std::string Model::process(const types::ImageView& image, const types::AffineTransform& transform,
                           const types::Size2<unsigned>& size) const {
  const core::LibraryThreadScope scope;
  return impl_->process(image, transform, size);
}

}  // namespace telvar::qv::classifier

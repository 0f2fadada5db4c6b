#include "segmenter/network/inference.h"

#include <algorithm>
#include <cmath>

#include "core/sampling.h"
#include "nn/passes.h"
#include "segmenter/network/blend.h"
#include "segmenter/network/mirrors.h"
#include "segmenter/network/network.h"
#include "segmenter/network/tiling.h"

namespace telvar::segmenter {
namespace {

/// Sides of a piece, and what neighbours share. Pieces keep memory bounded (docs/engine.md) and go
/// to several threads.
constexpr int kPieceSide = 512;
constexpr int kOverlap = 64;

ContextMap map_region(const InputSpec& spec, const ContextPredictor& context,
                      const types::ImageView& image, const core::Region& region) {
  if (context.empty()) return {};
  const OverviewSize size = overview_size(region.width, region.height, context.side());
  const core::Raster overview = core::sample(image, region, size.width, size.height, spec.source());
  return context.predict(overview.values.data(), size.width, size.height);
}

}  // namespace

Predictor::Predictor(const nn::Network& net, const InputSpec& spec)
    : spec_(spec),
      categories_(net.answer_channels()),
      context_planes_(net.input_channels() - spec.planes()),
      net_(net, nn::default_kernels().fastest_number()) {}

Probabilities Predictor::predict_piece(const float* pixels, int width, int height,
                                       const ContextMap& map, const PlaceInRegion& place) const {
  const int full_width = rounded_up(width), full_height = rounded_up(height);
  const nn::Extent extent{static_cast<std::size_t>(full_width) * full_height,
                          spec_.planes() + context_planes_};
  const auto source =
      padded(pixels, spec_.source_channels(), width, height, full_width, full_height);
  std::vector<float> planes(extent.count()), input(extent.count());
  fill_input_planes(spec_, source.data(), full_width, full_height, planes.data());
  fill_context_planes(map, place, context_planes_, full_width, full_height,
                      planes.data() + extent.rows * spec_.planes());
  std::vector<float> logits(std::size_t(categories_) * width * height);
  const int mirrors = spec_.mirrored ? kMirrors : 1;
  for_mirrors(mirrors, planes, full_width, full_height, [&](const Mirror& mirror) {
    nn::interleave(planes.data(), extent, input.data());
    add_logits(net_(input.data(), {1, full_height, full_width}), mirror, width, height, logits);
  });
  const float share = 1.0f / static_cast<float>(mirrors);
  for (float& value : logits) value = 1 / (1 + std::exp(-share * value));
  return logits;
}

void Predictor::add_logits(const nn::Answer& answer, const Mirror& mirror, int width, int height,
                           std::vector<float>& logits) const {
  const std::size_t area = std::size_t(width) * height;
  for (int y = 0; y < height; ++y) {
    const int row = mirror.row(y, rounded_up(height));
    for (int x = 0; x < width; ++x) {
      const float* const at = answer.at(0, row, mirror.column(x, rounded_up(width)));
      float* const out = logits.data() + std::size_t(y) * width + x;
      for (int c = 0; c < categories_; ++c) out[c * area] += at[c];
    }
  }
}

std::vector<types::Image> predict_region(const Predictor& predictor,
                                         const ContextPredictor& context,
                                         const types::ImageView& image, const core::Region& region,
                                         core::WorkerPool& pool) {
  const ContextMap map = map_region(predictor.spec(), context, image, region);
  const PiecePlan plan =
      plan_pieces(region.width, region.height, kPieceSide, kOverlap, kSideMultiple);
  BandBlender blender(plan, predictor.categories());
  // Two a thread, so that none waits long for the others; bounds memory on wide regions.
  const std::size_t pieces_at_once = 2 * std::size_t{pool.threads()};
  for (std::size_t row = 0; row < plan.rows.size(); ++row) {
    for (std::size_t first = 0; first < plan.columns.size(); first += pieces_at_once) {
      std::vector<Probabilities> pieces(std::min(pieces_at_once, plan.columns.size() - first));
      pool.run(static_cast<int>(pieces.size()), [&](int i) {
        const TileSpan &x = plan.columns[first + i], &y = plan.rows[row];
        const core::Region piece = core::part_of(region, x.begin, y.begin, x.size, y.size);
        const core::Raster pixels = core::sample(image, piece, predictor.spec().source());
        pieces[i] = predictor.predict_piece(pixels.values.data(), piece.width, piece.height, map,
                                            {x.begin, y.begin, region.width, region.height});
      });
      for (std::size_t i = 0; i < pieces.size(); ++i) blender.add_piece(row, first + i, pieces[i]);
    }
  }
  return blender.take();
}

}  // namespace telvar::segmenter

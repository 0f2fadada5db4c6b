#include "segmenter/predictor.h"

#include <algorithm>
#include <cmath>

#include "core/sampling.h"
#include "segmenter/blend.h"
#include "segmenter/tiling.h"

namespace telvar::segmenter {
namespace {

/// Sides of a piece, and what neighbours share. A piece of 512 keeps the network's memory at about
/// 150 MB a thread and costs a quarter less per pixel than one of 1024.
constexpr int kPieceSide = 512;
constexpr int kOverlap = 64;

int rounded_up(int side) {
  return (side + kSideMultiple - 1) / kSideMultiple * kSideMultiple;
}

/// Repeats the last column and row of each plane up to a larger size.
std::vector<float> padded(const float* planes, int count, int width, int height, int to_width,
                          int to_height) {
  std::vector<float> out(std::size_t(count) * to_width * to_height);
  float* target = out.data();
  for (int plane = 0; plane < count; ++plane) {
    for (int y = 0; y < to_height; ++y, target += to_width) {
      const float* row = planes + (std::size_t(plane) * height + std::min(y, height - 1)) * width;
      std::copy(row, row + width, target);
      std::fill(target + width, target + to_width, row[width - 1]);
    }
  }
  return out;
}

/// A second, empty image beside one so small that the tensor library would otherwise leave its fast
/// convolutions for an installed BLAS, whose settings would then decide the last bits.
std::int64_t batch_for(int width, int height) {
  constexpr std::int64_t kSmallArea = 256 * 256;
  return std::int64_t{width} * height < kSmallArea ? 2 : 1;
}

}  // namespace

void prepare_for_prediction(SegmentationNet& net) {
  const torch::NoGradGuard no_grad;
  net.eval();
  core::fold_batch_norms(net);
  if (core::computes_bfloat16()) net.to(torch::kBFloat16);
}

Probabilities predict_piece(SegmentationNet& net, const InputSpec& spec, const float* pixels,
                            int width, int height) {
  const c10::InferenceMode inference;
  const int full_width = rounded_up(width), full_height = rounded_up(height);
  const auto source =
      padded(pixels, spec.source_channels(), width, height, full_width, full_height);
  torch::Tensor input =
      torch::zeros({batch_for(full_width, full_height), spec.planes(), full_height, full_width});
  fill_input_planes(spec, source.data(), full_width, full_height, input.data_ptr<float>());
  const torch::Tensor logits = net.forward(input.to(net.number_type()));
  const torch::Tensor output = torch::sigmoid(logits[0].to(torch::kFloat))
                                   .slice(1, 0, height)
                                   .slice(2, 0, width)
                                   .contiguous();
  const float* values = output.data_ptr<float>();
  return Probabilities(values, values + output.numel());
}

std::vector<types::Image> predict_region(SegmentationNet& net, const InputSpec& spec,
                                         const types::ImageView& image, const core::Region& region,
                                         core::WorkerPool& pool) {
  const PiecePlan plan =
      plan_pieces(region.width, region.height, kPieceSide, kOverlap, kSideMultiple);
  BandBlender blender(plan, net.categories());
  // Two a thread, so that none waits long for the others; bounds memory on wide regions.
  const std::size_t pieces_at_once = 2 * std::size_t{pool.threads()};
  for (std::size_t row = 0; row < plan.rows.size(); ++row) {
    for (std::size_t first = 0; first < plan.columns.size(); first += pieces_at_once) {
      std::vector<Probabilities> pieces(std::min(pieces_at_once, plan.columns.size() - first));
      pool.run(static_cast<int>(pieces.size()), [&](int i) {
        const TileSpan &x = plan.columns[first + i], &y = plan.rows[row];
        const core::Region piece = core::part_of(region, x.begin, y.begin, x.size, y.size);
        const core::Raster pixels = core::sample(image, piece, spec.source());
        pieces[i] = predict_piece(net, spec, pixels.values.data(), piece.width, piece.height);
      });
      for (std::size_t i = 0; i < pieces.size(); ++i) blender.add_piece(row, first + i, pieces[i]);
    }
  }
  return blender.take();
}

}  // namespace telvar::segmenter

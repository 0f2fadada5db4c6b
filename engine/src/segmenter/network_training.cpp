#include "segmenter/network_training.h"

#include "nn/passes.h"

namespace telvar::segmenter {
namespace {

/// The average of the weights reaches back some fifty steps, most of a round.
constexpr double kAverageDecay = 0.98;

void fill_planes(const CropSource& source, const Crop& crop, std::vector<float>& planes) {
  fill_input_planes(source.spec(), crop.pixels.data(), source.side(), source.side(), planes.data());
  std::copy(crop.beside.begin(), crop.beside.end(),
            planes.end() - static_cast<std::ptrdiff_t>(crop.beside.size()));
}

double chunk_loss(nn::ChunkPass& pass, const Lesson& lesson, core::Random& random) {
  const int side = lesson.fresh.side();
  const nn::Extent extent{static_cast<std::size_t>(side) * side, lesson.fresh.planes()};
  ChunkTargets targets{kCropsPerChunk, extent.rows, lesson.fresh.categories(), {}, {}};
  std::vector<float> planes(extent.count());
  for (int i = 0; i < kCropsPerChunk; ++i) {
    const CropSource& source = lesson.rehearses && i % 2 == 1 ? lesson.rehearsed : lesson.fresh;
    const Crop crop = source.draw(random);
    fill_planes(source, crop, planes);
    nn::interleave(planes.data(), extent, pass.input() + i * extent.count());
    targets.belongs.insert(targets.belongs.end(), crop.targets.begin(), crop.targets.end());
    targets.known.insert(targets.known.end(), crop.known.begin(), crop.known.end());
  }
  return lesson.loss(pass.forward(), targets, pass.answer_gradient());
}

}  // namespace

void train_network(nn::Network& net, const Lesson& lesson, nn::TrainingPlan plan,
                   core::TrainingPool& pool) {
  plan.chunks = kChunks;
  plan.average_decay = kAverageDecay;
  const int side = lesson.fresh.side();
  nn::train(
      net, {kCropsPerChunk, side, side},
      [&](nn::ChunkPass& pass, int, int, core::Random& random) {
        return chunk_loss(pass, lesson, random);
      },
      plan, pool);
}

}  // namespace telvar::segmenter

// Train caches of the segmenter.
#include "artifact_target.h"
#include "cache_target.h"
#include "segmenter/network/context.h"
#include "segmenter/preparation.h"

using namespace telvar::fuzz;

namespace {

void prepare_once(telvar::core::TrainCacheStore& store) {
  telvar::segmenter::TrainingRequest request;
  request.categories = {"crack", "pore"};
  request.samples.resize(1);
  request.samples[0].name = request.samples[0].image_id = "plate";
  request.samples[0].masks["pore"] = "mask";
  const telvar::types::ImageLoader loader = [](const std::string&) { return probe_image(); };
  telvar::core::CacheSession session(store);
  const auto samples = telvar::segmenter::prepare_samples(
      request, request.categories, telvar::segmenter::kOverviewSide, loader, loader, session);
  session.commit();
  require(samples.size() == 1 && !samples[0].tiles.empty(), "the sample has tiles");
  for (const auto& tile : samples[0].tiles) {
    require(tile.width > 0 && tile.height > 0, "a tile has an extent");
    require(tile.pixels.size() == tile.area() * tile.channels * tile.depth, "and its pixels");
    for (const auto& plane : tile.labels) {
      require(plane.category >= 0 && plane.category < 2, "labels are of the categories");
      require(plane.bits.size() >= (tile.area() + 7) / 8, "labels cover the tile");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try_cache(telvar::core::Tool::kSegmenter, Input(data, size), prepare_once);
  return 0;
}

// Train caches of the classifier.
#include "artifact_target.h"
#include "cache_target.h"
#include "classifier/dataset.h"
#include "classifier/samples/preparation.h"

using namespace telvar::fuzz;

namespace {

void prepare_once(telvar::core::TrainCacheStore& store) {
  telvar::classifier::DatasetEntry entry;
  entry.key = entry.image_id = "part";
  entry.category_id = "good";
  const telvar::types::ImageLoader loader = [](const std::string&) { return probe_image(); };
  static telvar::core::WorkerPool pool(1);
  telvar::core::CacheSession session(store);
  const auto thumbnails =
      telvar::classifier::ThumbnailLoader(loader, session, pool, 32).load({entry}, 0, 1);
  session.commit();
  require(thumbnails.size() == 1, "the image has a thumbnail");
  const auto canvas = telvar::classifier::choose_canvas(thumbnails);
  require(telvar::classifier::letterbox(thumbnails[0], canvas).size() == canvas.sample_size(),
          "the thumbnail can be letterboxed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try_cache(telvar::core::Tool::kClassifier, Input(data, size), prepare_once);
  return 0;
}

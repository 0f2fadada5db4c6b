// Train caches of the reader.
#include "artifact_target.h"
#include "cache_target.h"
#include "ocr/dataset.h"

using namespace telvar::fuzz;

namespace {

void prepare_once(telvar::core::TrainCacheStore& store) {
  telvar::ocr::DatasetSample request;
  request.key = request.image_id = "page";
  request.labels = {{"1", 5, 6}, {"O", 30, 6}};
  telvar::core::CacheSession session(store);
  const auto sample = telvar::ocr::load_sample(
      request, {8, 12}, {"1", "O"}, [](const std::string&) { return probe_image(); }, session);
  session.commit();
  require(sample.width > 0 && sample.height > 0 &&
              sample.pixels.size() == static_cast<std::size_t>(sample.width) * sample.height,
          "the sample has its pixels");
  require(sample.labels.size() == 2, "the sample has its labels and no others");
  for (const auto& label : sample.labels) {
    require(label.category >= 0 && label.category < 2, "labels are of the categories");
    require(label.x > -1 && label.x < static_cast<float>(sample.width) && label.y > -1 &&
                label.y < static_cast<float>(sample.height),
            "labels lie within the sample");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try_cache(telvar::core::Tool::kOcr, Input(data, size), prepare_once);
  return 0;
}

#include "ocr/dataset.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "core/cache_session.h"
#include "core/categories.h"
#include "core/loading.h"
#include "core/messages.h"
#include "core/number_text.h"
#include "core/refusals.h"
#include "ocr/limits.h"
#include "telvar/exceptions.h"
#include "telvar_msg/ocr_training.pb.h"

namespace telvar::ocr {
namespace {

namespace msg = telvar_msg::qv::ocr;

std::string place_of(const std::string& key, std::size_t label) {
  return "sample '" + key + "', label " + std::to_string(label);
}

DatasetSample convert(const std::string& key, const msg::Sample& message) {
  DatasetSample sample;
  sample.key = key;
  sample.image_id = message.has_image_id() ? message.image_id() : key;
  if (message.has_region_of_interest()) {
    const auto& region = message.region_of_interest();
    const auto& t = region.affine_transform();
    sample.has_region = true;
    sample.transform = {t.m00(), t.m01(), t.tx(), t.m10(), t.m11(), t.ty()};
    sample.region_size = {region.width(), region.height()};
  }
  for (const msg::CharacterLabel& label : message.characters()) {
    sample.labels.push_back({label.category_id(), label.first_value(), label.second_value()});
  }
  return sample;
}

void check_labels(const DatasetSample& sample, const std::set<std::string>& listed) {
  if (sample.labels.size() > kMaxSampleLabels) {
    throw core::too_many("sample '" + sample.key + "'", sample.labels.size(), "labels",
                         kMaxSampleLabels);
  }
  for (std::size_t i = 0; i < sample.labels.size(); ++i) {
    const RegionLabel& label = sample.labels[i];
    if (label.category.empty()) {
      throw types::invalid_label(place_of(sample.key, i) + ": no category");
    }
    if (!std::isfinite(label.x) || !std::isfinite(label.y)) {
      throw types::invalid_label(place_of(sample.key, i) + ": the position (" +
                                 core::text_of(label.x) + ", " + core::text_of(label.y) +
                                 ") is not finite");
    }
    if (listed.count(label.category) == 0) {
      throw types::invalid_dataset(place_of(sample.key, i) + ": category '" + label.category +
                                   "' is not among the data set's categories");
    }
  }
}

void check_categories(const std::set<std::string>& categories) {
  if (categories.size() > static_cast<std::size_t>(kMaxCategories)) {
    throw core::too_many("the data set", categories.size(), "categories", kMaxCategories);
  }
  for (const std::string& category : categories) {
    if (category.size() > static_cast<std::size_t>(kMaxCategoryBytes)) {
      throw core::too_many("category '" + category.substr(0, 32) + "...'", category.size(), "bytes",
                           kMaxCategoryBytes);
    }
  }
}

std::uint64_t key_digest(const types::ImageView& image, const core::Region& region,
                         const NominalSize& size) {
  constexpr std::uint32_t kPreparation = 1;  // raise when `prepare` changes what it makes
  core::ByteWriter writer;
  writer.u32(kPreparation);
  writer.u64(core::digest_of(image));
  const auto& t = region.transform;
  for (const float value : {t.a, t.b, t.c, t.d, t.e, t.f, size.width, size.height}) {
    writer.f32(value);
  }
  writer.u32(static_cast<std::uint32_t>(region.width));
  writer.u32(static_cast<std::uint32_t>(region.height));
  return core::checksum(writer.bytes());
}

/// The sample in a cache entry. Throws malformed_bytes unless it is one of this extent.
PreparedSample decode(const std::string& blob, const PreparedExtent& extent) {
  core::ByteReader reader(blob);
  PreparedSample sample = read_sample(reader, 1);
  reader.finish("prepared sample");
  const bool fits = sample.width == extent.width && sample.height == extent.height;
  if (!fits || !sample.labels.empty() || !sample.unlabelled.empty()) {
    throw core::malformed_bytes("prepared sample of another region");
  }
  return sample;
}

/// The pixels, from the cache where they are known.
PreparedSample prepared(const types::ImageView& view, const core::Region& region,
                        const NominalSize& size, const std::string& image_id,
                        const std::string& subject, core::CacheSession& cache) {
  const core::CacheKey key{image_id, key_digest(view, region, size)};
  auto cached = cache.find_decoded(key, [&](const std::string& blob) {
    return decode(blob, prepared_extent(region, size, subject));
  });
  if (cached) return std::move(*cached);
  PreparedSample sample = prepare(view, region, size, subject);
  core::ByteWriter writer;
  write_sample(writer, sample);
  cache.put(key, writer.take());
  return sample;
}

void check_places(const DatasetSample& sample, const core::Region& region) {
  for (std::size_t i = 0; i < sample.labels.size(); ++i) {
    const RegionLabel& label = sample.labels[i];
    if (label.x < -0.5f || label.y < -0.5f || label.x > static_cast<float>(region.width) - 0.5f ||
        label.y > static_cast<float>(region.height) - 0.5f) {
      throw types::invalid_label(place_of(sample.key, i) + ": (" + core::text_of(label.x) + ", " +
                                 core::text_of(label.y) + ") lies outside the region of " +
                                 std::to_string(region.width) + " x " +
                                 std::to_string(region.height) + " pixels");
    }
  }
}

/// A place on the far edge, or brought there by rounding, counts to the last pixel: a Window is
/// half-open.
float within(double place, int extent) {
  const float edge = static_cast<float>(extent) - 0.5f;
  return std::min(static_cast<float>(place), std::nextafter(edge, 0.0f));
}

void add_labels(const DatasetSample& sample, const core::Region& region,
                const std::vector<std::string>& categories, PreparedSample& to) {
  const double scale_x = static_cast<double>(to.width) / region.width;
  const double scale_y = static_cast<double>(to.height) / region.height;
  for (const RegionLabel& label : sample.labels) {
    to.labels.push_back({core::index_of(label.category, categories),
                         within((label.x + 0.5) * scale_x - 0.5, to.width),
                         within((label.y + 0.5) * scale_y - 0.5, to.height)});
  }
}

}  // namespace

LabelledDataset parse_dataset(const std::string& message) {
  const core::ParsedMessage<msg::Dataset> parsed(message, "OCR data set");
  LabelledDataset dataset;
  dataset.size = {parsed->width(), parsed->height()};
  check_nominal_size(dataset.size, "data set");
  std::set<std::string> listed, used;
  for (const auto& entry : parsed->categories()) listed.insert(entry.first);
  std::map<std::string, const msg::Sample*> by_key;
  for (const auto& [key, sample] : parsed->samples()) by_key.emplace(key, &sample);
  for (const auto& [key, sample] : by_key) {
    dataset.samples.push_back(convert(key, *sample));
    check_labels(dataset.samples.back(), listed);
    for (const RegionLabel& label : dataset.samples.back().labels) used.insert(label.category);
  }
  check_categories(used);
  dataset.categories.assign(used.begin(), used.end());
  return dataset;
}

PreparedSample load_sample(const DatasetSample& sample, const NominalSize& size,
                           const std::vector<std::string>& categories,
                           const types::ImageLoader& loader, core::CacheSession& cache) {
  const std::string subject = "image '" + sample.image_id + "'";
  const types::Image image = core::load_image(loader, sample.image_id, subject);
  const types::ImageView view(image);
  core::check_image(image, subject, kImageLimits);
  const core::Region region =
      sample.has_region
          ? core::resolve_region(view, sample.transform, sample.region_size, subject, kImageLimits)
          : core::whole_image(view);
  check_places(sample, region);
  PreparedSample result = prepared(view, region, size, sample.image_id, subject, cache);
  result.name = subject;
  add_labels(sample, region, categories, result);
  return result;
}

}  // namespace telvar::ocr

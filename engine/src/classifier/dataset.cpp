#include "classifier/dataset.h"

#include <algorithm>

#include "classifier/limits.h"
#include "core/loading.h"
#include "core/messages.h"
#include "core/refusals.h"
#include "core/regions.h"
#include "telvar/exceptions.h"
#include "telvar_msg/classification.pb.h"
#include "telvar_msg/common.pb.h"

namespace telvar::classifier {
namespace {

namespace messages = telvar_msg::qv::classification;

// Images are loaded until so many bytes wait, then reduced by all threads.
constexpr std::size_t kPendingBytes = std::size_t{64} << 20;
constexpr std::size_t kPendingImages = 64;

void check_entry(const DatasetEntry& entry, const messages::Dataset& dataset) {
  const std::string subject = "sample '" + entry.key + "'";
  if (entry.category_id.empty()) throw types::invalid_label(subject + " has no category");
  if (entry.category_id.size() > kMaxIdentifier) {
    throw types::invalid_label(subject + ": a category identifier of " +
                               std::to_string(entry.category_id.size()) + " bytes, the limit is " +
                               std::to_string(kMaxIdentifier));
  }
  if (dataset.categories().count(entry.category_id) == 0) {
    throw types::invalid_dataset(subject + ": category '" + entry.category_id +
                                 "' is not among the data set's categories");
  }
}

void sort_by_key(std::vector<DatasetEntry>& entries) {
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.key < b.key; });
}

core::CacheKey cache_key(const std::string& image_id, const types::ImageView& image, int max_side) {
  constexpr std::uint32_t kPreparation = 1;  // raise when `make_thumbnail` changes what it makes
  core::ByteWriter key;
  key.u32(kPreparation);
  key.u64(core::digest_of(image));
  key.u32(static_cast<std::uint32_t>(max_side));
  return {image_id, core::checksum(key.bytes())};
}

struct Pending {
  std::size_t index;
  types::Image image;
  core::CacheKey key;
};

}  // namespace

std::vector<DatasetEntry> parse_dataset(const std::string& message) {
  const core::ParsedMessage<messages::Dataset> parsed(message, "classifier data set");
  const messages::Dataset& dataset = *parsed;
  if (dataset.samples().size() > kMaxSamples) {
    throw core::too_many("the data set", dataset.samples().size(), "samples", kMaxSamples);
  }
  if (dataset.categories().size() > kMaxCategories) {
    throw core::too_many("the data set", dataset.categories().size(), "categories", kMaxCategories);
  }
  std::vector<DatasetEntry> entries;
  for (const auto& [key, sample] : dataset.samples()) {
    entries.push_back({key, sample.image_id(), sample.category_id()});
  }
  sort_by_key(entries);
  for (const DatasetEntry& entry : entries) check_entry(entry, dataset);
  return entries;
}

std::vector<DatasetEntry> parse_batch(const std::string& message) {
  const core::ParsedMessage<telvar_msg::common::Dataset> dataset(message, "classifier batch");
  std::vector<DatasetEntry> entries;
  for (const auto& [key, sample] : dataset->samples()) {
    entries.push_back({key, sample.image_id(), {}});
  }
  sort_by_key(entries);
  return entries;
}

int parse_effort(const std::string& message) {
  const core::ParsedMessage<messages::TrainingParameters> parameters(
      message, "classifier training parameters");
  if (!parameters->has_training_setting()) return kNormalEffort;
  const int effort = parameters->training_setting();
  if (effort < kMinEffort || effort > kMaxEffort) {
    throw types::invalid_parameters("training setting " + std::to_string(effort) + " is outside " +
                                    std::to_string(kMinEffort) + ".." + std::to_string(kMaxEffort));
  }
  return effort;
}

std::vector<Thumbnail> ThumbnailLoader::load(const std::vector<DatasetEntry>& entries,
                                             std::size_t first, std::size_t last) {
  std::vector<Thumbnail> thumbnails(last - first);
  std::vector<Pending> pending;
  std::size_t bytes = 0;
  const auto reduce = [&] {
    pool_.run(static_cast<int>(pending.size()), [&](int i) {
      thumbnails[pending[i].index] = make_thumbnail(types::ImageView(pending[i].image), max_side_);
    });
    for (const Pending& item : pending) cache_.put(item.key, encode(thumbnails[item.index]));
    pending.clear();
    bytes = 0;
  };
  for (std::size_t i = first; i < last; ++i) {
    const DatasetEntry& entry = entries[i];
    const std::string subject = "sample '" + entry.key + "', image '" + entry.image_id + "'";
    types::Image image = core::load_image(loader_, entry.image_id, subject);
    const types::ImageView view(image);
    core::check_image(image, subject);
    core::CacheKey key = cache_key(entry.image_id, view, max_side_);
    auto cached = cache_.find_decoded(
        key, [&](const std::string& blob) { return decode(blob, view, max_side_); });
    if (cached) {
      thumbnails[i - first] = std::move(*cached);
      continue;
    }
    bytes += image.pixels.size();
    pending.push_back({i - first, std::move(image), std::move(key)});
    if (bytes > kPendingBytes || pending.size() >= kPendingImages) reduce();
  }
  reduce();
  return thumbnails;
}

}  // namespace telvar::classifier

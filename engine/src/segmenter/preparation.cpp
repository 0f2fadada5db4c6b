#include "segmenter/preparation.h"

#include <algorithm>

#include "core/loading.h"
#include "core/random.h"
#include "core/sampling.h"
#include "segmenter/limits.h"
#include "segmenter/network/context.h"
#include "segmenter/network/tiling.h"
#include "telvar/exceptions.h"

namespace telvar::segmenter {
namespace {

/// Part of every cache key: a change in how tiles are cut must miss old entries.
constexpr std::uint32_t kPreparation = 3;

struct LoadedSample {
  LoadedImage image;
  std::vector<types::Image> masks;  // by category of the model; empty: none of it
  std::uint64_t known = 0;
};

std::string size_text(unsigned width, unsigned height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void check_mask(const types::Image& mask, const types::Image& image, const std::string& subject) {
  if (mask.layout[0] != image.layout[0] || mask.layout[1] != image.layout[1]) {
    throw types::invalid_dataset(subject + ": " + size_text(mask.layout[0], mask.layout[1]) +
                                 " pixels, but its image has " +
                                 size_text(image.layout[0], image.layout[1]));
  }
  core::check_image(mask, subject, kImageLimits);
}

LoadedSample load_sample(const SampleRequest& request, const TrainingRequest& dataset,
                         const std::vector<std::string>& categories,
                         const types::ImageLoader& loader, const types::ImageLoader& mask_loader) {
  LoadedSample sample;
  sample.image = load_image(request, loader);
  sample.masks.resize(categories.size());
  for (std::size_t c = 0; c < categories.size(); ++c) {
    if (std::binary_search(dataset.categories.begin(), dataset.categories.end(), categories[c])) {
      sample.known |= std::uint64_t{1} << c;
    }
    const auto mask = request.masks.find(categories[c]);
    if (mask == request.masks.end()) continue;
    const std::string subject =
        request.name + ": mask '" + mask->second + "' of category '" + categories[c] + "'";
    sample.masks[c] = core::load_image(mask_loader, mask->second, subject);
    check_mask(sample.masks[c], sample.image.image, subject);
  }
  return sample;
}

core::CacheKey cache_key(const SampleRequest& request, const LoadedSample& sample,
                         int overview_side) {
  core::ByteWriter key;
  key.u32(kPreparation);
  key.i32(overview_side);
  key.u64(core::digest_of(types::ImageView(sample.image.image)));
  const types::AffineTransform& t = sample.image.region.transform;
  for (float value : {t.a, t.b, t.c, t.d, t.e, t.f}) key.f32(value);
  key.i32(sample.image.region.width);
  key.i32(sample.image.region.height);
  key.u64(sample.known);
  for (const types::Image& mask : sample.masks) {
    key.u64(mask.pixels.empty() ? 0 : core::digest_of(types::ImageView(mask)));
  }
  return {request.image_id, core::checksum(key.bytes())};
}

/// A part of the region, reduced to width x height.
TrainingTile sample_tile(const LoadedSample& sample, const core::Region& part, int width,
                         int height) {
  std::vector<core::Mask> masks(sample.masks.size());
  for (std::size_t c = 0; c < masks.size(); ++c) {
    if (sample.masks[c].pixels.empty()) continue;
    masks[c] = core::sample_mask(types::ImageView(sample.masks[c]), part, width, height);
  }
  const types::ImageView view(sample.image.image);
  const core::Colour colour = core::has_colour(view) ? core::Colour::kRgb : core::Colour::kGray;
  const int depth = view.layout[4] == 16 ? 2 : 1;
  return make_tile(core::sample(view, part, width, height, colour), depth, masks, sample.known);
}

bool has_labels(const LoadedSample& sample, const core::Region& part) {
  return std::any_of(sample.masks.begin(), sample.masks.end(), [&](const types::Image& mask) {
    if (mask.pixels.empty()) return false;
    const auto cut = core::sample_mask(types::ImageView(mask), part, part.width, part.height);
    return std::any_of(cut.values.begin(), cut.values.end(), [](auto v) { return v != 0; });
  });
}

struct Part {
  core::Region region;
  int x, y;  // where it begins in the sample's region
};

/// At most kMaxTilesPerSample parts; of a larger region, three with labels for each without.
std::vector<Part> choose_parts(const LoadedSample& sample) {
  std::vector<Part> parts;
  for (const TileSpan& y : even_spans(sample.image.region.height, kTileSide)) {
    for (const TileSpan& x : even_spans(sample.image.region.width, kTileSide)) {
      parts.push_back(
          {core::part_of(sample.image.region, x.begin, y.begin, x.size, y.size), x.begin, y.begin});
    }
  }
  if (parts.size() <= kMaxTilesPerSample) return parts;
  core::Random random({0x7469'6c65, parts.size()});
  random.shuffle(parts);
  std::vector<Part> labelled, empty;
  for (const Part& part : parts) {
    (has_labels(sample, part.region) ? labelled : empty).push_back(part);
  }
  const auto share = std::min<std::size_t>(empty.size(), kMaxTilesPerSample / 4);
  labelled.resize(std::min<std::size_t>(labelled.size(), kMaxTilesPerSample - share));
  empty.resize(std::min<std::size_t>(empty.size(), kMaxTilesPerSample - labelled.size()));
  labelled.insert(labelled.end(), empty.begin(), empty.end());
  return labelled;
}

std::string to_blob(const PreparedSample& sample) {
  core::ByteWriter writer;
  writer.u32(static_cast<std::uint32_t>(sample.tiles.size()));
  for (const TrainingTile& tile : sample.tiles) {
    write_tile(writer, tile);
    write_place(writer, tile.origin.place);
  }
  write_tile(writer, sample.overview);
  return writer.take();
}

PreparedSample from_blob(const std::string& blob, int categories) {
  core::ByteReader reader(blob);
  PreparedSample sample;
  sample.tiles.resize(reader.count("tiles", 1, kMaxTilesPerSample));
  for (TrainingTile& tile : sample.tiles) {
    tile = read_tile(reader, kTileSide, categories);
    tile.origin.place = read_place(reader, tile);
  }
  sample.overview = read_tile(reader, kLongestOverview, categories);
  reader.finish("prepared sample");
  return sample;
}

PreparedSample cut_sample(const LoadedSample& loaded, int overview_side) {
  const core::Region& region = loaded.image.region;
  PreparedSample sample;
  for (const Part& part : choose_parts(loaded)) {
    sample.tiles.push_back(sample_tile(loaded, part.region, part.region.width, part.region.height));
    sample.tiles.back().origin.place = {part.x, part.y, region.width, region.height};
  }
  const OverviewSize size = overview_size(region.width, region.height, overview_side);
  sample.overview = sample_tile(loaded, region, size.width, size.height);
  return sample;
}

PreparedSample prepared(const SampleRequest& request, const LoadedSample& sample, int overview_side,
                        core::CacheSession& cache) {
  const core::CacheKey key = cache_key(request, sample, overview_side);
  const int categories = static_cast<int>(sample.masks.size());
  if (const auto blob = cache.find(key)) {
    try {
      return from_blob(*blob, categories);
    } catch (const core::malformed_bytes&) {
      // An entry that is no use costs time, nothing else: cut the sample anew.
    }
  }
  PreparedSample cut = cut_sample(sample, overview_side);
  cache.put(key, to_blob(cut));
  return cut;
}

}  // namespace

LoadedImage load_image(const SampleRequest& request, const types::ImageLoader& loader) {
  const std::string subject = request.name + ", image '" + request.image_id + "'";
  LoadedImage loaded{core::load_image(loader, request.image_id, subject), {}};
  const types::ImageView view(loaded.image);
  core::check_image(loaded.image, subject, kImageLimits);
  loaded.region = core::resolve_region(view, request.region.transform, request.region.size, subject,
                                       kImageLimits);
  return loaded;
}

std::vector<PreparedSample> prepare_samples(const TrainingRequest& request,
                                            const std::vector<std::string>& categories,
                                            int overview_side, const types::ImageLoader& loader,
                                            const types::ImageLoader& mask_loader,
                                            core::CacheSession& cache) {
  std::vector<PreparedSample> samples;
  for (const SampleRequest& sample : request.samples) {
    const LoadedSample loaded = load_sample(sample, request, categories, loader, mask_loader);
    samples.push_back(prepared(sample, loaded, overview_side, cache));
    samples.back().name = sample.name;
  }
  return samples;
}

}  // namespace telvar::segmenter

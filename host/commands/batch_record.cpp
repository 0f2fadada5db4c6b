#include "commands/batch_record.h"

#include <cstdio>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "app/errors.h"
#include "app/text.h"
#include "files/input.h"

namespace telvar_host {
namespace {

std::string digest(const std::string& bytes) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx",
                static_cast<unsigned long long>(XXH64(bytes.data(), bytes.size(), 0)));
  return text;
}

Json settings_json(const StateFile& state, const PredictOptions& options) {
  Json settings = Json::object();
  if (!options.roi.empty()) settings["roi"] = options.roi;
  if (state.tool == ToolKind::kOcr) {
    const auto size = predictor_settings(options, state).size;
    settings["size"] = {size.width, size.height};
  }
  if (!options.fielding.allowed.empty()) {
    settings["allow"] = options.fielding.allowed;
    settings["count"] = options.fielding.count;
  }
  if (!options.fielding.patterns.empty()) {
    settings["patterns"] = digest(read_file(path_from_utf8(options.fielding.patterns)));
  }
  return settings;
}

Json listing_json(const std::vector<ListedImage>& images) {
  std::string listing;
  for (const auto& image : images) listing += image.id + '\n' + std::to_string(image.bytes) + '\n';
  return {{"images", images.size()}, {"digest", digest(listing)}};
}

}  // namespace

Shard parse_shard(const std::string& text) {
  if (text.empty()) return {};
  const auto parts = split(text, '/');
  const auto index = parts.size() == 2 ? parse_number(parts[0]) : std::nullopt;
  const auto count = parts.size() == 2 ? parse_number(parts[1]) : std::nullopt;
  const auto whole = [](double value) {
    return value == static_cast<double>(static_cast<long>(value));
  };
  if (!index || !count || *index < 1 || *count < *index || *count > 1e6 || !whole(*index) ||
      !whole(*count)) {
    throw usage_error("--shard " + text + ": expected I/N with whole numbers 1 <= I <= N");
  }
  return {static_cast<std::size_t>(*index), static_cast<std::size_t>(*count)};
}

bool has_image(const Shard& shard, const std::string& id) {
  return XXH64(id.data(), id.size(), 0) % shard.count == shard.index - 1;
}

Json batch_record(const StateFile& state, const PredictOptions& options, const LabelOptions& labels,
                  const std::vector<ListedImage>& images, const Shard& shard) {
  Json record = {{"state", digest(state.artifact)},
                 {"settings", settings_json(state, options)},
                 {"listing", listing_json(images)},
                 {"shard", {shard.index, shard.count}},
                 {"asked", Json::object()}};
  if (!labels.format.empty()) record["asked"]["labels"] = labels.format;
  if (labels.below) record["asked"]["below"] = *labels.below;
  return record;
}

bool same_predictions(const Json& a, const Json& b) {
  return a.value("state", Json()) == b.value("state", Json()) &&
         a.value("settings", Json()) == b.value("settings", Json());
}

}  // namespace telvar_host

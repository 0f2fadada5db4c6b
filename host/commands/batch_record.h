// What a batch's results were made from and with, so that a run can tell whether there is anything
// left to do, and `merge` whether shards belong together.
#pragma once

#include <string>
#include <vector>

#include "app/json.h"
#include "commands/inputs.h"
#include "commands/predict_options.h"

namespace telvar_host {

struct Shard {
  std::size_t index = 1;  // from 1
  std::size_t count = 1;
};

// "I/N"; the whole for an empty text. Throws usage_error.
Shard parse_shard(const std::string& text);

// Whether a shard has the image: by a hash of its id alone, so that images that come or go between
// two shards change nothing for the others.
bool has_image(const Shard& shard, const std::string& id);

// {"state", "settings", "listing": {"images", "digest"}, "shard", "asked"}: digests (XXH64) of the
// artifact and of all ids with their files' sizes, the options that predictions and labels depend
// on.
Json batch_record(const StateFile& state, const PredictOptions& options, const LabelOptions& labels,
                  const std::vector<ListedImage>& images, const Shard& shard);

// Whether predictions made under one record are those of the other.
bool same_predictions(const Json& a, const Json& b);

}  // namespace telvar_host

// The batch operations over any number of pictures, a bounded number at a time.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "app/json.h"
#include "files/output.h"
#include "files/state_file.h"
#include "library/session.h"

namespace telvar_host {

struct BatchItem {
  std::string id;
  std::filesystem::path file;
};

struct BatchRun {
  std::string csv;
  Json json;
  std::size_t failed = 0;  // pictures with an error instead of a result
};

// Memory holds the pictures of one group (64, or 256 MB of pixels). Masks of the segmenter go to
// masks/CATEGORY/ID.png in `out`: probability 0..255. A picture that cannot be read or is refused
// gets an error in its row, and the others their results.
BatchRun run_batch(Session& session, const StateFile& state, const std::vector<BatchItem>& items,
                   OutputFolder& out);

}  // namespace telvar_host

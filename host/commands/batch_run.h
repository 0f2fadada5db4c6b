// Any number of images through one tool, a bounded number at a time, with results kept as they
// come.
#pragma once

#include <string>
#include <vector>

#include "app/json.h"
#include "commands/inputs.h"
#include "files/output.h"
#include "library/session.h"
#include "predictions/predictor.h"

namespace telvar_host {

// The results in the output folder, of this run and of one that was interrupted: a line of JSON for
// each image in the hidden file .results, after its masks are written.
class KeptResults {
 public:
  // Takes over what an interrupted run left. Throws usage_error when that had another state or
  // other settings; `force` forgets it instead.
  KeptResults(OutputFolder& out, const Json& record, bool force);

  // The result of an earlier run for the image as it is now; null without one, or when it failed.
  const Json* find(const ListedImage& image) const;
  // Keeps results: "file" and the prediction or "error".
  void add(const std::vector<std::pair<ListedImage, Json>>& results);

 private:
  void read();

  OutputFolder& out_;
  std::map<std::string, std::pair<std::uintmax_t, Json>> earlier_;  // by id, with the file's size
};

// The results of all images, in their order. Memory holds the pixels of one group of images (64, or
// 256 MB). Masks of the segmenter go to masks/CATEGORY/ID.png in `out`: probability 0..255. An
// image that cannot be read or is refused has an error in its result, and the others theirs. The
// library is loaded only if there is something left to do.
std::vector<Json> run_batch(Session& session, const StateFile& state,
                            const PredictorSettings& settings,
                            const std::vector<ListedImage>& images, KeptResults& kept,
                            OutputFolder& out);

}  // namespace telvar_host

#pragma once

// How every tool keeps its engine's train cache: restored from a string on construction, saved to
// one by GetData. The engine's `load` and `save` are found beside the tool's cache type.

#include <ios>
#include <memory>
#include <sstream>
#include <string>

namespace Orbalt::TelvarWrapper::Wrapper {

/// Loads `saved` into `cache`. Empty: leaves the cache as it is. If loading throws anything at all,
/// the cache is replaced by a fresh one of `create`: a damaged cache only costs time, and must
/// never make a tool unusable.
template <class TrainCache, class Create>
void RestoreTrainCache(std::unique_ptr<TrainCache>& cache, const std::string& saved,
                       Create create) {
  if (saved.empty()) return;
  std::istringstream stream(saved, std::ios::in | std::ios::binary);
  try {
    load(*cache, stream);
  } catch (...) {
    cache = create();
  }
}

/// Everything that the engine writes for `cache`. Not guarded: the engine's exceptions pass as they
/// are. A stream by itself only notes that a write failed, and would keep a cut cache; this one
/// throws what failed (std::bad_alloc, for example), or std::ios_base::failure where nothing was
/// thrown, also when `save` returns with the failure noted.
template <class TrainCache>
std::string SaveTrainCache(const TrainCache& cache) {
  std::ostringstream stream(std::ios::out | std::ios::binary);
  stream.exceptions(std::ios::badbit | std::ios::failbit);
  save(cache, stream);
  stream.clear(stream.rdstate());  // throws if a failure is noted
  return stream.str();
}

}  // namespace Orbalt::TelvarWrapper::Wrapper

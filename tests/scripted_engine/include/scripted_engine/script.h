#pragma once

// The control side of the scripted engine: a telvar library for tests that learns nothing, records
// every argument it gets, answers what it was told and throws where it was told.
//
//   scripted_engine::reset();
//   scripted_engine::script().answers["ocr.process"] = result.SerializeAsString();
//   scripted_engine::fail("ocr.model", telvar::types::invalid_parameters("too small"));
//   ... use the library under test ...
//   EXPECT_EQ(scripted_engine::last("ocr.process").size[0], 64u);
//
// Script and record belong to the calling thread, so tests on distinct threads do not meet.
//
// Names of calls, <tool> being ocr, classifier or segmenter:
//   <tool>.model  <tool>.model.destroy  <tool>.process  <tool>.train
//   <tool>.cache.create  <tool>.cache.load  <tool>.cache.save  <tool>.cache.destroy
//   classifier.batch  segmenter.batch  ocr.sort  ocr.fielding  ocr.apply
//
// What is not scripted behaves as plainly as an engine can: a model or batch refuses an empty
// artifact (invalid_training_artifact), and a cache loads only what `save` wrote (read_error).

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <ios>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "telvar/image.h"

namespace scripted_engine {

/// What a loader of the caller returned when the engine asked it for `image_id`.
struct Loaded {
  std::string image_id;
  telvar::types::Image image;
};

/// One call of the engine. Fields that a call does not have keep their defaults.
struct Call {
  std::string name;
  int object = 0;  // number of the model, cache or fielding object, from 1 in order of creation
  int cache = 0;   // number of the cache that train or batch got

  std::string artifact, parameters, dataset;
  std::string bytes;  // cache.load: read; cache.save: written; fielding, apply: the message
  std::optional<unsigned> cpu_threads;  // of a model's device; none: no processor

  telvar::types::ImageLayout layout{};
  const unsigned char* pixels = nullptr;
  std::array<float, 6> transform{};
  std::array<unsigned, 2> size{};

  std::optional<bool> keep_images;
  std::optional<unsigned long long> capacity;

  std::vector<std::pair<float, float>> points;
  float value = 0;

  std::vector<Loaded> images, masks;
  bool has_writer = false;
  std::vector<std::string> writer_returned;
};

/// A result image that a segmenter batch hands to its writer.
struct Written {
  telvar::types::Image image;
  std::string image_id, name;
};

struct Failure {
  std::string name;
  int calls_left;  // 1: the next call of that name fails
  std::function<void()> raise;
};

struct Script {
  // What to answer.
  std::map<std::string, std::string> answers;                 // by call name: process, train, batch
  std::string new_artifact = "trained";                       // of every training
  std::map<std::string, telvar::types::Image> result_images;  // segmenter.process
  std::vector<std::vector<std::size_t>> sorted;               // ocr.sort
  std::pair<std::string, std::string> fielded;                // ocr.apply

  // What train and batch do before they answer.
  std::vector<std::string> ask_images, ask_masks;  // identifiers to ask the loaders for
  std::vector<Written> write;                      // moved to the writer of a batch
  std::string cache_update;                        // appended to the cache

  std::ios::iostate save_state = std::ios::goodbit;  // set on the stream that `save` wrote

  std::vector<Failure> failures;
  bool recording = true;
  std::deque<Call> calls;
  int objects = 0;  // models, caches and fielding objects made so far
};

/// The script and record of the calling thread.
TELVAR_API Script& script();

/// Forgets script and record.
inline void reset() {
  script() = Script();
}

/// Makes the `nth` call of `name` from now throw `error`. Train and batch have asked their loaders
/// and changed the cache by then; a cache's load has taken half of the stream.
template <typename Error>
void fail(const std::string& name, Error error, int nth = 1) {
  script().failures.push_back({name, nth, [error] { throw error; }});
}

inline std::vector<Call> calls(const std::string& name) {
  std::vector<Call> found;
  for (const Call& call : script().calls) {
    if (call.name == name) found.push_back(call);
  }
  return found;
}

inline std::size_t count(const std::string& name) {
  return calls(name).size();
}

/// The latest call of `name`; throws std::out_of_range when there was none.
inline Call last(const std::string& name) {
  const std::vector<Call> found = calls(name);
  return found.at(found.size() - 1);
}

/// What `save` writes for a cache with these contents, and `load` accepts.
inline std::string saved_cache(const std::string& contents = "") {
  return "scripted cache\n" + contents;
}

}  // namespace scripted_engine

#pragma once

// What the three tools of the scripted engine share.

#include <iosfwd>
#include <string>

#include "scripted_engine/script.h"
#include "telvar/callbacks.h"
#include "telvar/device.h"

namespace scripted_engine {

/// Adds a call to the record; the reference stays valid until `reset`.
Call& record(const std::string& name, int object = 0);

/// Records the end of an object; gives up for want of memory.
void record_end(const std::string& tool, const char* what, int object) noexcept;

/// Throws when the script says so.
void raise_scripted(const std::string& name);

int next_object();

std::string answer(const std::string& name);

/// A model, known by its number; records its end.
class ModelState {
 public:
  ModelState(const std::string& tool, const std::string& artifact, const std::string& parameters,
             const telvar::types::Device& device);
  ~ModelState();

  /// Records one processing call and throws when the script says so.
  void process(const telvar::types::ImageView& view,
               const telvar::types::AffineTransform& transform,
               const telvar::types::Size2<unsigned>& size) const;

 private:
  std::string tool_;
  int number_ = 0;
};

/// A cache, known by its number and a string of contents.
class CacheState {
 public:
  explicit CacheState(const std::string& tool);
  ~CacheState();

  void load(std::istream& stream);
  void save(std::ostream& stream) const;

  int number() const { return number_; }
  std::string& contents() { return contents_; }

 private:
  std::string tool_;
  int number_;
  std::string contents_;
};

/// What every training and batch run gets.
struct RunArguments {
  const std::string& artifact;
  const std::string& dataset;
  const telvar::types::ImageLoader& loader;
  CacheState& cache;
};

/// Records a training or batch run and asks its loader.
Call& begin_run(const std::string& name, const RunArguments& run);

void ask(const std::vector<std::string>& identifiers, const telvar::types::ImageLoader& loader,
         std::vector<Loaded>& loaded);

/// Changes the cache, then throws when the script says so.
void end_run(const std::string& name, CacheState& cache);

void refuse_empty_artifact(const std::string& artifact);

}  // namespace scripted_engine

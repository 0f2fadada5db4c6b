// What every command has at hand: the library, loaded when first asked for, and the progress.
#pragma once

#include <memory>
#include <string>

#include "app/progress.h"
#include "library/library.h"

namespace telvar_host {

struct GlobalOptions {
  bool json = false;
  bool quiet = false;
  std::string library;  // path, UTF-8; empty: the usual places
};

class Session {
 public:
  explicit Session(const GlobalOptions& options)
      : progress(options.quiet), json_(options.json), library_path_(options.library) {}

  // Whether the outcome is asked for as JSON.
  bool json() const { return json_; }

  // Loads on first use. Everything that came from it must be gone before the session is.
  Library& library();

  Progress progress;

 private:
  bool json_;
  std::string library_path_;
  std::unique_ptr<Library> library_;
};

}  // namespace telvar_host

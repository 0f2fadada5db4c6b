// What every command has at hand.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "app/errors.h"
#include "app/progress.h"
#include "library/library.h"

namespace telvar_host {

using Json = nlohmann::ordered_json;

// What a command has to say: `json` with --json, `text` without.
struct Outcome {
  Json json = Json::object();
  std::string text;
  ExitCode code = ExitCode::kOk;
};

struct GlobalOptions {
  bool json = false;
  bool quiet = false;
  std::string library;  // path, UTF-8; empty: the usual places
};

class Session {
 public:
  explicit Session(const GlobalOptions& options)
      : progress(options.quiet), library_path_(options.library) {}

  // Loads on first use. Everything that came from it must be gone before the session is.
  Library& library();

  Progress progress;

 private:
  std::string library_path_;
  std::unique_ptr<Library> library_;
};

using Command = std::function<Outcome(Session&)>;

// Bytes that are no UTF-8 become U+FFFD.
inline std::string dumped(const Json& json, int indent = 2) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace telvar_host

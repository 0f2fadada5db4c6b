// --allow, --count and --patterns.
#pragma once

#include <CLI/App.hpp>
#include <string>

#include "tools/reader_tool.h"

namespace telvar_host {

struct FieldingOptions {
  std::string allowed;
  int count = 0;
  std::string patterns;  // path of a JSON file
};

void add_fielding_options(CLI::App& app, FieldingOptions& options);
Fielding fielding_of(const FieldingOptions& options);

// {"NAME": [["allowed at position 1", "at position 2", ...], [second line ...]], ...}. Throws
// data_error naming file and place.
AdvancedFielding parse_patterns(const std::string& text, const std::string& name);

}  // namespace telvar_host

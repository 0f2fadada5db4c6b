#include "commands/fielding_options.h"

#include <CLI/CLI.hpp>

#include "app/label.h"
#include "app/text.h"
#include "datasets/json_reader.h"
#include "files/input.h"

namespace telvar_host {
namespace {

std::vector<std::string> read_pattern_line(const JsonValue& value) {
  std::vector<std::string> classes;
  for (std::size_t i = 0; i < value.size(); ++i) {
    classes.push_back(normal_form(value.at(i).string()));
    if (classes.back().empty()) throw value.at(i).error("allows no character");
  }
  if (classes.empty()) throw value.error("is a line without positions");
  return classes;
}

}  // namespace

void add_fielding_options(CLI::App& app, FieldingOptions& options) {
  auto* allow = app.add_option("--allow", options.allowed, "ocr: the characters that may occur");
  app.add_option("--count", options.count, "ocr: exactly so many characters; 0 is any number")
      ->needs(allow)
      ->check(CLI::Range(0, 1000000));
  app.add_option("--patterns", options.patterns, "ocr: JSON file of named patterns (docs/host.md)")
      ->excludes(allow);
}

Fielding fielding_of(const FieldingOptions& options) {
  if (!options.patterns.empty()) {
    const auto text = read_file(path_from_utf8(options.patterns), 1U << 28);
    return parse_patterns(text, options.patterns);
  }
  if (!options.allowed.empty()) return BasicFielding(normal_form(options.allowed), options.count);
  return {};
}

AdvancedFielding parse_patterns(const std::string& text, const std::string& name) {
  const auto document = parse_json(text, name);
  if (!document.is_object() || document.empty()) {
    throw data_error(name + ": expected an object with at least one named pattern");
  }
  const JsonValue top(document, name, "");
  AdvancedFielding fielding;
  for (const auto& entry : document.items()) {
    const auto lines = top.at(entry.key());
    auto& pattern = fielding.patterns[entry.key()];
    for (std::size_t i = 0; i < lines.size(); ++i)
      pattern.push_back(read_pattern_line(lines.at(i)));
    if (pattern.empty()) throw lines.error("is a pattern without lines");
  }
  return fielding;
}

}  // namespace telvar_host

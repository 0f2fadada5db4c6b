#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <iterator>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "datasets/tables.h"
#include "files/input.h"
#include "tools/reader_tool.h"

namespace telvar_host {
namespace {

struct Options {
  std::string points;
  double height = 0;
};

using Points = std::vector<std::pair<float, float>>;

std::string input(const std::string& file) {
  if (file != "-") return read_file(path_from_utf8(file), 1U << 30);
  return {std::istreambuf_iterator<char>(std::cin), {}};
}

// Far beyond any image, and still exact enough in single precision.
constexpr double kLargest = 1e7;

// Throws for a record that is no point.
std::pair<float, float> point_of(const Row& row, const std::string& where) {
  float values[2] = {};
  for (std::size_t i = 0; i < 2; ++i) {
    if (row.size() != 2) {
      throw data_error(where + ": has " + counted(row.size(), "value") + ", two are expected: x,y");
    }
    const auto value = parse_number(trimmed(row[i]));
    if (!value || std::abs(*value) > kLargest) {
      throw data_error(where + ": '" + trimmed(row[i]) + "' is no number of at most 1e7");
    }
    values[i] = static_cast<float>(*value);
  }
  return {values[0], values[1]};
}

Points read_points(const std::string& file) {
  const auto rows = parse_csv(input(file), file);
  Points points;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i == 0 && rows[i] == Row{"x", "y"}) continue;
    points.push_back(point_of(rows[i], file + ": record " + std::to_string(i + 1)));
  }
  return points;
}

Outcome sort(const Options& options, Session& session) {
  if (!(options.height > 0 && options.height <= kLargest)) {
    throw usage_error("--height must be above 0 and at most 1e7, not " + fixed(options.height, 3));
  }
  const auto points = read_points(options.points);
  StateFile nothing;
  nothing.tool = ToolKind::kOcr;
  const auto lines = ReaderTool(session, nothing).sort(points, static_cast<float>(options.height));
  Outcome outcome;
  outcome.json["points"] = points.size();
  outcome.json["lines"] = lines;
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      outcome.text += (i == 0 ? "" : " ") + std::to_string(line[i]);
    }
    outcome.text += "\n";
  }
  return outcome;
}

}  // namespace

void add_sort(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("sort", "Group points into lines of text, in reading order");
  sub->add_option("--points", options->points, "CSV with x,y a line; - reads standard input")
      ->required();
  sub->add_option("--height", options->height, "Nominal character height, in the points' unit")
      ->required();
  sub->footer(
      "Example:\n  telvar sort --points centres.csv --height 24\nPrints the points' indexes, "
      "counted from 0, a line of text per line.");
  sub->callback([&command, options] {
    command = [options](Session& session) { return sort(*options, session); };
  });
}

}  // namespace telvar_host

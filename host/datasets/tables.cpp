#include "datasets/tables.h"

#include <algorithm>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/problems.h"

namespace telvar_host {
namespace {

// Reads one record starting at `at`; leaves `at` behind its line end.
Row read_record(std::string_view text, std::size_t& at, std::size_t& line,
                const std::string& name) {
  Row row(1);
  bool quoted = false;
  const std::size_t first_line = line;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '\n') ++line;
    if (quoted) {
      if (c != '"') {
        row.back() += c;
      } else if (at + 1 < text.size() && text[at + 1] == '"') {
        row.back() += text[++at];
      } else {
        quoted = false;
      }
    } else if (c == '"' && row.back().empty()) {
      quoted = true;
    } else if (c == ',') {
      row.emplace_back();
    } else if (c == '\n') {
      ++at;
      break;
    } else if (c != '\r') {
      row.back() += c;
    }
  }
  if (quoted) {
    throw data_error(name + ": line " + std::to_string(first_line) + ": a quote is never closed");
  }
  return row;
}

}  // namespace

std::vector<Row> parse_csv(std::string_view text, const std::string& name) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  std::vector<Row> rows;
  std::size_t line = 1;
  for (std::size_t at = 0; at < text.size();) {
    auto row = read_record(text, at, line, name);
    if (row.size() > 1 || !trimmed(row[0]).empty()) rows.push_back(std::move(row));
  }
  return rows;
}

std::string csv_field(const std::string& value) {
  if (value.find_first_of(",\"\r\n") == std::string::npos) return value;
  std::string quoted = "\"";
  for (const char c : value) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

NamedTable::NamedTable(std::string_view text, std::string name) : name_(std::move(name)) {
  const auto lines = split_lines(text);
  if (lines.empty()) throw data_error(name_ + ": is empty; a header line is expected");
  header_ = split(lines[0], '\t');
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (trimmed(lines[i]).empty()) continue;
    rows_.push_back(split(lines[i], '\t'));
    lines_.push_back(i + 1);
    if (rows_.back().size() != header_.size()) {
      throw data_error(where(rows_.size() - 1) + ": " + counted(rows_.back().size(), "field") +
                       ", the header has " + std::to_string(header_.size()));
    }
  }
}

std::optional<std::size_t> NamedTable::index_of(const std::string& column) const {
  const auto found = std::find(header_.begin(), header_.end(), column);
  if (found == header_.end()) return {};
  return static_cast<std::size_t>(found - header_.begin());
}

const std::string& NamedTable::at(std::size_t row, const std::string& column) const {
  const auto index = index_of(column);
  if (!index) throw data_error(name_ + ": has no column '" + column + "'");
  return rows_[row][*index];
}

double NamedTable::number(std::size_t row, const std::string& column) const {
  const auto value = parse_number(trimmed(at(row, column)));
  if (!value) {
    throw data_error(where(row) + ": " + column + " '" + at(row, column) + "' is no number");
  }
  return *value;
}

std::string NamedTable::where(std::size_t row) const {
  return name_ + ": line " + std::to_string(lines_[row]);
}

}  // namespace telvar_host

// Comma- and tab-separated files.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace telvar_host {

using Row = std::vector<std::string>;

// RFC 4180: fields may stand in double quotes, "" inside quotes is one quote. Blank lines and, at
// the start, a byte order mark are skipped. Throws data_error "NAME: line N: ..." for an open
// quote.
std::vector<Row> parse_csv(std::string_view text, const std::string& name);
std::string csv_field(const std::string& value);

// A table whose first line names its columns, separated by tabs, fields as they stand. Blank lines
// are skipped.
class NamedTable {
 public:
  // Throws data_error when there is no header, or a row has another number of fields.
  NamedTable(std::string_view text, std::string name);
  bool has(const std::string& column) const { return index_of(column).has_value(); }
  std::size_t rows() const { return rows_.size(); }
  const std::string& at(std::size_t row, const std::string& column) const;
  // Throws data_error naming the line and the column when the field is no number.
  double number(std::size_t row, const std::string& column) const;
  std::string where(std::size_t row) const;

 private:
  std::optional<std::size_t> index_of(const std::string& column) const;

  std::string name_;
  Row header_;
  std::vector<Row> rows_;
  std::vector<std::size_t> lines_;  // of the rows, counted from 1
};

}  // namespace telvar_host

#include "predictions/results.h"

#include <algorithm>
#include <functional>

#include "app/text.h"
#include "datasets/tables.h"

namespace telvar_host {
namespace {

struct Column {
  std::string name;
  std::function<std::string(const Json&)> field;
};

// The keys of an object in every entry, in the order in which they first occur.
std::vector<std::string> keys_in(const std::vector<Json>& entries, const char* object) {
  std::vector<std::string> keys;
  for (const auto& entry : entries) {
    if (!entry.contains(object)) continue;
    for (const auto& item : entry[object].items()) {
      if (std::find(keys.begin(), keys.end(), item.key()) == keys.end()) keys.push_back(item.key());
    }
  }
  return keys;
}

Column number_column(const std::string& name) {
  return {name, [name](const Json& e) { return fixed(e[name].get<double>(), 6); }};
}

std::vector<Column> classifier_columns(const std::vector<Json>& entries) {
  std::vector<Column> columns = {
      {"category", [](const Json& e) { return e["category"].get<std::string>(); }},
      number_column("score")};
  for (const auto& category : keys_in(entries, "scores")) {
    columns.push_back({"score:" + category, [category](const Json& e) {
                         return fixed(e["scores"].value(category, 0.0), 6);
                       }});
  }
  return columns;
}

std::vector<Column> segmenter_columns(const std::vector<Json>& entries) {
  std::vector<Column> columns;
  for (const auto& category : keys_in(entries, "categories")) {
    columns.push_back({"pixels:" + category, [category](const Json& e) {
                         return e["categories"].contains(category)
                                    ? e["categories"][category]["pixels"].dump()
                                    : std::string();
                       }});
  }
  return columns;
}

std::vector<Column> reader_columns() {
  const auto text = [](const Json& e) {
    std::string lines;
    for (const auto& line : e["text"]) {
      lines += (lines.empty() ? "" : "\n") + line.get<std::string>();
    }
    return lines;
  };
  return {{"text", text}, number_column("lowest_score"), number_column("mean_score")};
}

std::vector<Column> columns_of(ToolKind tool, const std::vector<Json>& entries) {
  switch (tool) {
    case ToolKind::kOcr:
      return reader_columns();
    case ToolKind::kClassifier:
      return classifier_columns(entries);
    case ToolKind::kSegmenter:
      break;
  }
  return segmenter_columns(entries);
}

}  // namespace

std::string results_csv(ToolKind tool, const std::vector<Json>& entries) {
  const auto columns = columns_of(tool, entries);
  std::string csv = "file";
  for (const auto& column : columns) csv += "," + csv_field(column.name);
  csv += ",error\n";
  for (const auto& entry : entries) {
    const bool failed = entry.contains("error");
    csv += csv_field(entry["file"].get<std::string>());
    for (const auto& column : columns) {
      csv += "," + (failed ? std::string() : csv_field(column.field(entry)));
    }
    csv += "," + (failed ? csv_field(entry["error"].get<std::string>()) : std::string()) + "\n";
  }
  return csv;
}

std::size_t failures_in(const std::vector<Json>& entries) {
  return static_cast<std::size_t>(std::count_if(
      entries.begin(), entries.end(), [](const Json& entry) { return entry.contains("error"); }));
}

}  // namespace telvar_host

// The texts that describe data sets and patterns: read, or refused as bad data.
// Input: which format (1 byte), text.
#include "app/errors.h"
#include "commands/fielding_options.h"
#include "convert/annotations.h"
#include "datasets/ocr_labels.h"
#include "datasets/segmenter_data.h"
#include "datasets/tables.h"
#include "fuzz_input.h"

using namespace telvar::fuzz;
using namespace telvar_host;

namespace {

void read_labels(const std::string& text) {
  const OcrData data = parse_labels_json(text, "labels.json", "/data");
  const OcrData again = parse_labels_json(labels_json(data, "/data"), "labels.json", "/data");
  require(again.items.size() == data.items.size(), "labels that are written are read again");
}

void read_csv(const std::string& text) {
  std::string written;
  const auto rows = parse_csv(text, "labels.csv");
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) written += (i ? "," : "") + csv_field(row[i]);
    written += "\n";
  }
  require(parse_csv(written, "labels.csv").size() <= rows.size(), "no rows come from nowhere");
}

void read_table(const std::string& text) {
  const NamedTable table(text, "chars.tsv");
  for (std::size_t row = 0; row < table.rows(); ++row) {
    if (table.has("x0")) table.number(row, "x0");
    if (table.has("char")) table.at(row, "char");
  }
}

void read_patterns(const std::string& text) {
  for (const auto& [name, lines] : parse_patterns(text, "patterns.json").patterns) {
    require(!lines.empty(), "a pattern has lines");
    for (const auto& line : lines) require(!line.empty(), "a line has positions");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const int format = input.number<std::uint8_t>() % 7;
  const std::string text = input.rest();
  try {
    if (format == 0) read_labels(text);
    if (format == 1) read_csv(text);
    if (format == 2) read_table(text);
    if (format == 3) parse_classes(text, "classes.txt");
    if (format == 4) parse_coco(text, "coco.json", "/images");
    if (format == 5) parse_labelme(text, "image.json", "/images");
    if (format == 6) read_patterns(text);
  } catch (const HostError& error) {
    require(error.code() == ExitCode::kBadData, "what cannot be read is bad data");
  }
  return 0;
}

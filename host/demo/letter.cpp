#include <algorithm>
#include <map>
#include <set>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/ocr_labels.h"
#include "datasets/tables.h"
#include "demo/demo_sets.h"
#include "files/input.h"
#include "files/run_program.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

// Nominal size of the letter's characters: the ninth decile of the marked boxes, since narrow
// letters and those without ascenders are smaller than a character's cell.
float ninth_decile(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return static_cast<float>(values[values.size() * 9 / 10]);
}

cv::Mat read_letter(const fs::path& root, OutputFolder& out) {
  const auto packed = root / "usr/share/jbigkit-testdata/ccitt1.jbg";
  if (!fs::exists(packed)) {
    throw data_error(utf8(packed) + ": no such file; install Debian's package jbigkit-testdata");
  }
  const auto page = out.staging() / "page.pbm";
  run_program("jbgtopbm", {packed.string(), page.string()}, "jbigkit-bin");
  const auto picture = read_picture(page);
  fs::remove(page);
  return picture;
}

void write_part(const OcrData& data, const std::string& folder, const std::string& page,
                OutputFolder& out) {
  out.write(path_from_utf8(folder + "/page.png"), page);
  out.write(path_from_utf8(folder + "/labels.json"), labels_json(data, ""));
}

}  // namespace

LetterSplit write_letter(const DemoSources& sources, const std::string& folder, OutputFolder& out) {
  const auto file = sources.labels / "ocr_typewriter" / "chars.tsv";
  const NamedTable table(read_file(file), utf8(file));
  std::set<double> lines;
  std::vector<double> widths, heights;
  for (std::size_t row = 0; row < table.rows(); ++row) {
    lines.insert(table.number(row, "line"));
    widths.push_back(table.number(row, "x1") - table.number(row, "x0"));
    heights.push_back(table.number(row, "y1") - table.number(row, "y0"));
  }
  if (table.rows() == 0) throw data_error(utf8(file) + ": marks no characters");
  OcrItem train, test;
  std::map<std::string, int> kinds;
  for (std::size_t row = 0; row < table.rows(); ++row) {
    const auto number = std::distance(lines.begin(), lines.find(table.number(row, "line")));
    // x1 and y1 lie one pixel behind the box.
    const CharacterMark mark{(table.number(row, "x0") + table.number(row, "x1") - 1) / 2,
                             (table.number(row, "y0") + table.number(row, "y1") - 1) / 2,
                             table.at(row, "char")};
    (number % 3 == 1 ? test : train).characters.push_back(mark);
    if (number % 3 != 1) ++kinds[mark.category];
  }
  LetterSplit split;
  split.left_out = test.characters.size();
  test.characters.erase(std::remove_if(test.characters.begin(), test.characters.end(),
                                       [&](const auto& mark) { return kinds[mark.category] < 3; }),
                        test.characters.end());
  split.train = train.characters.size();
  split.test = test.characters.size();
  split.left_out -= split.test;
  for (auto* item : {&train, &test}) {
    item->file = "page.png";
    item->partial = true;
  }
  const NominalSize size{ninth_decile(widths), ninth_decile(heights)};
  const auto page = encoded(read_letter(sources.root, out), ".png");
  write_part({size, {train}}, folder + "/train", page, out);
  write_part({size, {test}}, folder + "/test", page, out);
  return split;
}

}  // namespace telvar_host

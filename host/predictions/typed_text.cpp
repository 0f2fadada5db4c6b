#include "predictions/typed_text.h"

#include <TelvarTypes/Exceptions.h>

#include "app/text.h"
#include "metrics/text_metrics.h"

namespace telvar_host {
namespace {

// Below this the reader would rather have read something else.
constexpr double kDoubtful = 0.5;

using Letters = std::vector<std::u32string>;  // by line

Letters letters_of(const std::vector<std::string>& lines) {
  Letters letters;
  for (const auto& line : lines) {
    auto text = telvar_host::letters_of(line);
    if (!text.empty()) letters.push_back(std::move(text));
  }
  return letters;
}

void place(const ReadCharacter& at, char32_t letter, const OcrItem& item, const NominalSize& size,
           PlacedText& placed) {
  const auto [x, y] = item.region ? item.region->to_image(at.x, at.y) : std::pair(at.x, at.y);
  CharacterMark mark{x, y, utf8_of(letter)};
  mark.box = {{size.width, size.height}};
  mark.score = at.category == mark.category ? at.score : 0;
  if (*mark.score < kDoubtful) ++placed.doubtful;
  placed.characters.push_back(std::move(mark));
}

// Only if it reads exactly the letters: whatever else fits less well than the alignment below.
bool place_by_pattern(const Reading& reading, const Letters& letters, const OcrItem& item,
                      const NominalSize& size, PlacedText& placed) {
  if (reading.lines.size() != letters.size()) return false;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    if (reading.lines[i].characters.size() != letters[i].size()) return false;
  }
  for (std::size_t i = 0; i < letters.size(); ++i) {
    for (std::size_t k = 0; k < letters[i].size(); ++k) {
      place(reading.characters[reading.lines[i].characters[k]], letters[i][k], item, size, placed);
    }
  }
  return true;
}

AdvancedFielding pattern_of(const Letters& letters) {
  AdvancedFielding fielding;
  for (const auto& line : letters) {
    std::vector<std::string> positions;
    for (const auto letter : line) positions.push_back(utf8_of(letter));
    fielding.patterns["text"].push_back(std::move(positions));
  }
  return fielding;
}

// A letter for each character, so that places in the text are places in the line.
std::u32string read_letters(const Reading& reading, const ReadLine& line) {
  std::u32string text;
  for (const auto index : line.characters) {
    const auto points = code_points(reading.characters[index].category);
    text += points.size() == 1 ? points.front() : U'\uFFFD';
  }
  return text;
}

void place_line(const std::u32string& letters, const Reading& reading, const ReadLine& line,
                const OcrItem& item, const NominalSize& size, PlacedText& placed) {
  std::size_t letter = 0, character = 0;
  for (const auto& [expected, read] : edit_script(letters, read_letters(reading, line))) {
    if (!expected.empty() && !read.empty()) {
      place(reading.characters[line.characters[character]], letters[letter], item, size, placed);
    }
    letter += expected.empty() ? 0 : 1;
    character += read.empty() ? 0 : 1;
  }
}

void place_by_alignment(const Reading& reading, const Letters& letters, const OcrItem& item,
                        const NominalSize& size, PlacedText& placed) {
  std::vector<std::string> texts;
  for (const auto& line : letters) {
    texts.emplace_back();
    for (const auto letter : line) texts.back() += utf8_of(letter);
  }
  for (const auto& pair : align_lines(texts, reading.texts(), true)) {
    if (!pair.truth || !pair.read) continue;
    place_line(letters[*pair.truth], reading, reading.lines[*pair.read], item, size, placed);
  }
}

}  // namespace

PlacedText place_text(ReaderTool& reader, const cv::Mat& image, const OcrItem& item,
                      const NominalSize& size) {
  const auto letters = letters_of(item.lines);
  PlacedText placed;
  for (const auto& line : letters) placed.letters += line.size();
  if (letters.empty()) return placed;
  try {
    const auto reading = reader.process(image, item.region, size, pattern_of(letters));
    if (place_by_pattern(reading, letters, item, size, placed)) return placed;
  } catch (const Orbalt::TelvarWrapper::InvalidArgumentException&) {
    // No such text is found whole, or it has letters that the reader has never seen.
  }
  place_by_alignment(reader.process(image, item.region, size), letters, item, size, placed);
  return placed;
}

}  // namespace telvar_host

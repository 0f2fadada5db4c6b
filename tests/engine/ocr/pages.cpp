#include "pages.h"

#include <algorithm>
#include <cmath>

#include "core/random.h"

namespace telvar::test {
namespace {

const std::map<char, std::vector<std::string>> kGlyphs = {
    {'1', {"..#..", ".##..", "..#..", "..#..", "..#..", "..#..", ".###."}},
    {'4', {"...#.", "..##.", ".#.#.", "#..#.", "#####", "...#.", "...#."}},
    {'7', {"#####", "....#", "...#.", "..#..", ".#...", ".#...", ".#..."}},
    {'A', {".###.", "#...#", "#...#", "#####", "#...#", "#...#", "#...#"}},
    {'H', {"#...#", "#...#", "#...#", "#####", "#...#", "#...#", "#...#"}},
    {'L', {"#....", "#....", "#....", "#....", "#....", "#....", "#####"}},
    {'T', {"#####", "..#..", "..#..", "..#..", "..#..", "..#..", "..#.."}},
    {'X', {"#...#", "#...#", ".#.#.", "..#..", ".#.#.", "#...#", "#...#"}},
};

constexpr float kDot = 3;     // pixels between dots
constexpr float kPitch = 20;  // between characters
constexpr float kLeading = 34;

/// Coverage of a soft dot at (x, y).
void stamp(std::vector<float>& ink, int width, int height, float x, float y, float radius) {
  for (int py = std::max(0, int(y) - 4); py < std::min(height, int(y) + 6); ++py) {
    for (int px = std::max(0, int(x) - 4); px < std::min(width, int(x) + 6); ++px) {
      const float distance = std::hypot(float(px) - x, float(py) - y);
      float& value = ink[std::size_t(py) * std::size_t(width) + std::size_t(px)];
      value = std::max(value, std::clamp(radius + 0.5f - distance, 0.0f, 1.0f));
    }
  }
}

}  // namespace

Page draw_page(std::uint64_t seed, const PageStyle& style) {
  core::Random random({seed, 77});
  const float turn = style.slant * 3.14159265f / 180;
  const int width = int(style.scale * (kPitch * float(style.columns) + 50));
  const float rise = float(width) * std::tan(turn);  // negative where lines run up
  const int height = int(style.scale * (kLeading * float(style.lines) + 30) + std::abs(rise));
  std::vector<float> ink(std::size_t(width) * std::size_t(height), 0);
  Page page;
  for (int line = 0; line < style.lines; ++line) {
    page.lines.emplace_back();
    const float left = style.scale * random.uniform(22, 32);
    for (int column = 0; column < style.columns; ++column) {
      const char glyph = style.alphabet[std::size_t(random.below(int(style.alphabet.size())))];
      const float along = left + style.scale * kPitch * float(column);
      const float across = style.scale * (28 + kLeading * float(line));
      const float x = along, y = across - std::min(rise, 0.0f) + along * std::tan(turn);
      page.lines.back() += glyph;
      page.characters.push_back({std::string(1, glyph), x, y, line});
      for (int row = 0; row < 7; ++row) {
        for (int dot = 0; dot < 5; ++dot) {
          if (kGlyphs.at(glyph)[std::size_t(row)][std::size_t(dot)] != '#') continue;
          const float dx = style.scale * kDot * float(dot - 2) + random.uniform(-0.3f, 0.3f);
          const float dy = style.scale * kDot * float(row - 3) + random.uniform(-0.3f, 0.3f);
          stamp(ink, width, height, x + dx * std::cos(turn) - dy * std::sin(turn),
                y + dx * std::sin(turn) + dy * std::cos(turn), 1.6f * style.scale);
        }
      }
    }
  }
  std::vector<unsigned char> pixels(ink.size());
  const float light = random.uniform(120, 160), tilt = random.uniform(-0.15f, 0.15f);
  const float contrast = (style.bright ? 1.0f : -1.0f) * random.uniform(45, 70);
  for (std::size_t i = 0; i < ink.size(); ++i) {
    const float value =
        light + tilt * float(i % std::size_t(width)) + contrast * ink[i] + 6 * random.normal();
    pixels[i] = static_cast<unsigned char>(std::clamp(value, 0.0f, 255.0f));
  }
  page.image =
      types::Image(unsigned(width), unsigned(height), unsigned(width), 1, 8, 0, pixels.data());
  return page;
}

types::Image as_wide_colour(const types::Image& gray, int unit, unsigned channels) {
  const unsigned width = gray.layout[0], height = gray.layout[1];
  const unsigned stride = width * channels * 2 + 10;
  std::vector<unsigned char> bytes(std::size_t(stride) * height);
  for (unsigned y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<unsigned short*>(bytes.data() + std::size_t(y) * stride);
    for (unsigned x = 0; x < width * channels; ++x) {
      const int value = gray.pixels[std::size_t(y) * width + x / channels];
      row[x] = static_cast<unsigned short>(x % channels == 3 ? 8191 * (x * y % 8) : value * unit);
    }
  }
  return types::Image(width, height, stride, channels, 16, channels == 3 ? 2 : 4, bytes.data());
}

void PageSet::add(const std::string& id, const Page& page,
                  const std::function<bool(std::size_t)>& labelled) {
  message.set_width(kCharacterWidth);
  message.set_height(kCharacterHeight);
  msg::Sample& sample = (*message.mutable_samples())[id];
  sample.set_image_id(id);
  for (std::size_t i = 0; i < page.characters.size(); ++i) {
    if (labelled && !labelled(i)) continue;
    const DrawnCharacter& character = page.characters[i];
    msg::CharacterLabel& label = *sample.add_characters();
    label.set_category_id(character.category);
    label.set_first_value(character.x);
    label.set_second_value(character.y);
    (*message.mutable_categories())[character.category];
  }
  images_[id] = page.image;
}

types::ImageLoader PageSet::loader() const {
  return [images = images_](const std::string& id) { return images.at(id); };
}

std::string runtime_size(float width, float height) {
  msg::RuntimeParameters parameters;
  parameters.set_width(width);
  parameters.set_height(height);
  return parameters.SerializeAsString();
}

msg::SampleResult read(const qv::ocr::Model& model, const types::Image& image) {
  msg::Result result;
  result.ParseFromString(model.process(types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0}));
  return result.sample();
}

std::vector<std::string> texts(const msg::SampleResult& sample) {
  std::vector<std::string> result;
  for (const msg::Line& line : sample.lines()) result.push_back(line.text());
  return result;
}

double exact_lines(const qv::ocr::Model& reader, const PageStyle& style, std::uint64_t seed,
                   int pages) {
  int exact = 0, all = 0;
  for (int i = 0; i < pages; ++i) {
    const Page page = draw_page(seed + std::uint64_t(i), style);
    const std::vector<std::string> read_lines = texts(read(reader, page.image));
    all += int(page.lines.size());
    for (std::size_t k = 0; k < page.lines.size() && k < read_lines.size(); ++k) {
      exact += page.lines[k] == read_lines[k];
    }
  }
  return double(exact) / all;
}

}  // namespace telvar::test

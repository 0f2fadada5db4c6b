#include "datasets/mask_colours.h"

#include <set>

#include "app/errors.h"
#include "app/label.h"
#include "app/text.h"

namespace telvar_host {
namespace {

std::uint32_t palette_colour(unsigned index) {
  std::uint32_t colour[3] = {};
  for (int bit = 7; index != 0; index >>= 3, --bit) {
    for (unsigned channel = 0; channel < 3; ++channel) {
      colour[channel] |= ((index >> channel) & 1U) << bit;
    }
  }
  return colour[0] << 16 | colour[1] << 8 | colour[2];
}

std::optional<std::uint32_t> parse_colour(const std::string& text) {
  const auto parts = split(text, ',');
  if (parts.size() != 3) return {};
  std::uint32_t colour = 0;
  for (const auto& part : parts) {
    const auto value = parse_number(trimmed(part));
    if (!value || *value < 0 || *value > 255 || *value != static_cast<int>(*value)) return {};
    colour = colour << 8 | static_cast<std::uint32_t>(*value);
  }
  return colour;
}

}  // namespace

ColourIndexes palette_colours() {
  ColourIndexes colours;
  for (unsigned index = 0; index < 256; ++index) {
    colours[palette_colour(index)] = static_cast<int>(index);
  }
  colours[0xE0E0C0] = 0;
  return colours;
}

LabelMap parse_label_map(const std::string& text, const std::string& name) {
  LabelMap map;
  std::set<std::string> names;
  const auto lines = split_lines(text);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto line = trimmed(lines[i]);
    if (line.empty() || line.front() == '#') continue;
    const auto parts = split(line, ':');
    const auto label = clean_label(parts[0]);
    const auto colour = parts.size() > 1 ? parse_colour(parts[1]) : std::nullopt;
    if (!colour || label.empty()) {
      throw data_error(name + ": line " + std::to_string(i + 1) + ": expected NAME:R,G,B, found '" +
                       line + "'");
    }
    const int index = label == "background" ? 0 : static_cast<int>(map.classes.size()) + 1;
    if (!map.colours.emplace(*colour, index).second || !names.insert(label).second) {
      throw data_error(name + ": line " + std::to_string(i + 1) +
                       ": the name or the colour stands twice");
    }
    if (index != 0) map.classes[index] = label;
  }
  if (map.classes.empty()) {
    throw data_error(name + ": names no category besides the background");
  }
  map.colours.emplace(0, 0);  // what nothing was drawn on
  return map;
}

cv::Mat indexes_of(const cv::Mat& mask, const ColourIndexes& colours) {
  cv::Mat indexes(mask.size(), CV_16U);
  for (int y = 0; y < mask.rows; ++y) {
    for (int x = 0; x < mask.cols; ++x) {
      const auto& bgr = mask.at<cv::Vec3b>(y, x);
      const std::uint32_t colour = bgr[2] << 16 | bgr[1] << 8 | bgr[0];
      const auto found = colours.find(colour);
      indexes.at<std::uint16_t>(y, x) =
          static_cast<std::uint16_t>(found == colours.end() ? kNoClass : found->second);
    }
  }
  return indexes;
}

}  // namespace telvar_host

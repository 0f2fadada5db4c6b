#include "ocr/expert.h"

#include <algorithm>

#include "nn/weights.h"
#include "ocr/limits.h"
#include "ocr/network.h"

namespace telvar::ocr {
namespace {

std::vector<std::string> read_categories(core::ByteReader& reader) {
  std::vector<std::string> categories(reader.count("category count", 1, kMaxCategories));
  for (std::size_t i = 0; i < categories.size(); ++i) {
    categories[i] = reader.text("category", kMaxCategoryBytes);
    if (categories[i].empty() || (i > 0 && categories[i] <= categories[i - 1])) {
      throw core::malformed_bytes("the categories are not in ascending order");
    }
  }
  return categories;
}

std::vector<PreparedSample> read_exemplars(core::ByteReader& reader, std::uint32_t categories) {
  std::vector<PreparedSample> exemplars(reader.count("exemplar count", 0, kMaxExemplars));
  for (PreparedSample& exemplar : exemplars) {
    exemplar = read_sample(reader, categories);
    exemplar.is_exemplar = true;
    if (exemplar.width > kExemplarWidth || exemplar.height > kExemplarHeight) {
      throw core::malformed_bytes("an exemplar is larger than its limit");
    }
  }
  return exemplars;
}

void renumber(PreparedSample& sample, const std::vector<int>& position) {
  for (auto* labels : {&sample.labels, &sample.unlabelled}) {
    for (PreparedLabel& label : *labels) {
      label.category = position[static_cast<std::size_t>(label.category)];
    }
  }
}

}  // namespace

std::vector<int> positions(const std::vector<std::string>& from,
                           const std::vector<std::string>& to) {
  std::vector<int> result;
  for (const std::string& category : from) {
    const bool there = std::binary_search(to.begin(), to.end(), category);
    result.push_back(there ? index_of(category, to) : nn::kNone);
  }
  return result;
}

Expert extended(Expert expert, const std::vector<std::string>& categories, core::Random& random) {
  const std::vector<int> position = positions(expert.categories, categories);
  const int count = static_cast<int>(categories.size());
  expert.net = widened(expert.net, count, position, random);
  expert.spacing = expert.spacing.renumbered(position, count);
  for (PreparedSample& exemplar : expert.exemplars) renumber(exemplar, position);
  expert.categories = categories;
  return expert;
}

void write_expert(core::ByteWriter& writer, const Expert& expert) {
  writer.u32(static_cast<std::uint32_t>(expert.categories.size()));
  for (const std::string& category : expert.categories) writer.text(category);
  expert.spacing.write(writer);
  nn::write_weights(writer, expert.net);
  writer.u32(static_cast<std::uint32_t>(expert.exemplars.size()));
  for (const PreparedSample& exemplar : expert.exemplars) write_sample(writer, exemplar);
}

Expert read_expert(core::ByteReader& reader) {
  Expert expert;
  expert.categories = read_categories(reader);
  const int categories = static_cast<int>(expert.categories.size());
  expert.spacing = Spacing::read(reader, categories);
  expert.net = network_layers(categories);
  nn::read_weights(reader, expert.net);
  expert.exemplars = read_exemplars(reader, static_cast<std::uint32_t>(categories));
  return expert;
}

float read_sharpness(core::ByteReader& reader) {
  const float sharpness = reader.f32("sharpness");
  if (sharpness < kLeastSharpness || sharpness > kMostSharpness) {
    throw core::malformed_bytes("sharpness out of range");
  }
  return sharpness;
}

}  // namespace telvar::ocr

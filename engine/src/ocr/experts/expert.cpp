#include "ocr/experts/expert.h"

#include "core/categories.h"
#include "nn/weights.h"
#include "ocr/limits.h"
#include "ocr/network/network.h"

namespace telvar::ocr {
namespace {

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
  return core::places_among(from, to, nn::kNone);
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
  core::write_categories(writer, expert.categories);
  expert.spacing.write(writer);
  nn::write_weights(writer, expert.net);
  writer.u32(static_cast<std::uint32_t>(expert.exemplars.size()));
  for (const PreparedSample& exemplar : expert.exemplars) write_sample(writer, exemplar);
}

Expert read_expert(core::ByteReader& reader) {
  Expert expert;
  expert.categories = core::read_categories(reader, 1, kMaxCategories, kMaxCategoryBytes);
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

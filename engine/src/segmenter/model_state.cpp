#include "segmenter/model_state.h"

#include <cmath>

#include "core/artifact.h"
#include "nn/weights.h"
#include "segmenter/exemplars.h"
#include "segmenter/limits.h"
#include "segmenter/network.h"

namespace telvar::segmenter {
namespace {

constexpr std::uint32_t kVersion = 1;

std::vector<std::string> read_categories(core::ByteReader& reader) {
  std::vector<std::string> categories(reader.count("categories", 1, kMaxCategories));
  for (std::size_t i = 0; i < categories.size(); ++i) {
    categories[i] = reader.text("category", kMaxNameBytes);
    if (categories[i].empty() || (i > 0 && categories[i] <= categories[i - 1])) {
      throw core::malformed_bytes("category " + std::to_string(i) + " is empty or out of order");
    }
  }
  return categories;
}

InputSpec read_input(core::ByteReader& reader) {
  InputSpec input;
  const int colour = reader.u8("colour flag");
  if (colour > 1) throw core::malformed_bytes("colour flag " + std::to_string(colour));
  input.colour = colour == 1;
  input.mean = reader.f32("mean luma");
  input.deviation = reader.f32("luma deviation");
  if (std::abs(input.mean) > 1 || input.deviation < InputSpec::kMinDeviation ||
      input.deviation > 1) {
    throw core::malformed_bytes("luma statistics outside their range");
  }
  return input;
}

ModelState read_payload(core::ByteReader& reader) {
  ModelState model;
  model.categories = read_categories(reader);
  model.input = read_input(reader);
  const auto categories = static_cast<int>(model.categories.size());
  model.net = network_layers(model.input.planes(), categories);
  nn::read_weights(reader, model.net);
  model.exemplars.resize(reader.count("exemplars", 0, kMaxExemplars));
  for (TrainingTile& tile : model.exemplars) {
    tile = read_tile(reader, kExemplarSide, categories);
  }
  return model;
}

}  // namespace

std::string write_model(const ModelState& model) {
  core::ByteWriter writer;
  writer.u32(static_cast<std::uint32_t>(model.categories.size()));
  for (const std::string& category : model.categories) writer.text(category);
  writer.u8(model.input.colour ? 1 : 0);
  writer.f32(model.input.mean);
  writer.f32(model.input.deviation);
  nn::write_weights(writer, model.net);
  writer.u32(static_cast<std::uint32_t>(model.exemplars.size()));
  for (const TrainingTile& tile : model.exemplars) write_tile(writer, tile);
  return core::write_artifact(core::Tool::kSegmenter, kVersion, writer.bytes());
}

ModelState read_model(const std::string& artifact) {
  const auto opened = core::open_artifact(artifact, core::Tool::kSegmenter, kVersion);
  return core::parse_payload(core::Tool::kSegmenter, opened.payload, read_payload);
}

}  // namespace telvar::segmenter

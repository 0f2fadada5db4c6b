#include "segmenter/state.h"

#include <cmath>

#include "core/artifact.h"
#include "core/categories.h"
#include "nn/weights.h"
#include "segmenter/limits.h"
#include "segmenter/network/network.h"
#include "segmenter/samples/exemplars.h"

namespace telvar::segmenter {
namespace {

constexpr std::uint32_t kVersion = 3;
constexpr int kMaxContextNets = 4;
constexpr int kShortestOverview = 16;
/// Stands for the place of the overview in exemplars that have none.
constexpr int kNoOverview = 255;

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

/// How many networks there are is part of what shapes the fine one has.
ContextModel read_context(core::ByteReader& reader, std::uint32_t version, const InputSpec& input,
                          int categories) {
  ContextModel context;
  const int nets = reader.u8("context networks");
  const int positions = reader.u8("position flag");
  if (nets > kMaxContextNets || positions > 1) {
    throw core::malformed_bytes(std::to_string(nets) + " context networks with position flag " +
                                std::to_string(positions));
  }
  context.positions = positions == 1;
  context.side = version >= 3 ? reader.u8("side of overviews") : kLongestOverview;
  if (context.side < kShortestOverview || context.side > kLongestOverview) {
    throw core::malformed_bytes("overviews of " + std::to_string(context.side) + " cells");
  }
  for (int i = 0; i < nets; ++i) {
    context.nets.push_back(network_layers(input.planes() + kPositionPlanes, categories));
    nn::read_weights(reader, context.nets.back());
  }
  return context;
}

void read_overviews(core::ByteReader& reader, int categories, SegmenterState& model) {
  const int nets = static_cast<int>(model.context.nets.size());
  model.overviews.resize(reader.count("overviews", 0, kMaxExemplars));
  for (Overview& overview : model.overviews) {
    overview.tile = read_tile(reader, model.context.side, categories);
    overview.fold = reader.u8("fold");
    if (overview.fold >= nets && overview.fold != Overview::kUnseen) {
      throw core::malformed_bytes("overview of fold " + std::to_string(overview.fold));
    }
  }
  for (TrainingTile& tile : model.exemplars) {
    const int index = reader.u8("overview of an exemplar");
    if (index == kNoOverview) continue;
    if (index >= static_cast<int>(model.overviews.size())) {
      throw core::malformed_bytes("exemplar of overview " + std::to_string(index));
    }
    tile.origin = {index, read_place(reader, tile)};
  }
}

SegmenterState read_payload(core::ByteReader& reader, std::uint32_t version) {
  SegmenterState model;
  model.categories = core::read_categories(reader, 1, kMaxCategories, kMaxNameBytes);
  model.input = read_input(reader);
  const auto categories = static_cast<int>(model.categories.size());
  if (version >= 2) {
    const int mirrored = reader.u8("mirror flag");
    if (mirrored > 1) throw core::malformed_bytes("mirror flag " + std::to_string(mirrored));
    model.input.mirrored = mirrored == 1;
    model.context = read_context(reader, version, model.input, categories);
  }
  const int context_planes = model.context.empty() ? 0 : categories;
  model.net = network_layers(model.input.planes() + context_planes, categories);
  nn::read_weights(reader, model.net);
  model.exemplars.resize(reader.count("exemplars", 0, kMaxExemplars));
  for (TrainingTile& tile : model.exemplars) {
    tile = read_tile(reader, kExemplarSide, categories);
  }
  if (version >= 2) read_overviews(reader, categories, model);
  return model;
}

void write_overviews(core::ByteWriter& writer, const SegmenterState& model) {
  writer.u32(static_cast<std::uint32_t>(model.overviews.size()));
  for (const Overview& overview : model.overviews) {
    write_tile(writer, overview.tile);
    writer.u8(static_cast<std::uint8_t>(overview.fold));
  }
  for (const TrainingTile& tile : model.exemplars) {
    const int index = tile.origin.overview;
    writer.u8(static_cast<std::uint8_t>(index < 0 ? kNoOverview : index));
    if (index >= 0) write_place(writer, tile.origin.place);
  }
}

}  // namespace

std::string write_state(const SegmenterState& model) {
  core::ByteWriter writer;
  core::write_categories(writer, model.categories);
  writer.u8(model.input.colour ? 1 : 0);
  writer.f32(model.input.mean);
  writer.f32(model.input.deviation);
  writer.u8(model.input.mirrored ? 1 : 0);
  writer.u8(static_cast<std::uint8_t>(model.context.nets.size()));
  writer.u8(model.context.positions ? 1 : 0);
  writer.u8(static_cast<std::uint8_t>(model.context.side));
  for (const nn::Network& net : model.context.nets) nn::write_weights(writer, net);
  nn::write_weights(writer, model.net);
  writer.u32(static_cast<std::uint32_t>(model.exemplars.size()));
  for (const TrainingTile& tile : model.exemplars) write_tile(writer, tile);
  write_overviews(writer, model);
  return core::write_artifact(core::Tool::kSegmenter, kVersion, writer.bytes());
}

SegmenterState read_state(const std::string& artifact) {
  const auto opened = core::open_artifact(artifact, core::Tool::kSegmenter, kVersion);
  return core::parse_payload(core::Tool::kSegmenter, opened.payload, [&](core::ByteReader& reader) {
    return read_payload(reader, opened.version);
  });
}

}  // namespace telvar::segmenter

#include "classifier/state.h"

#include <algorithm>

#include "classifier/features/orders.h"
#include "classifier/inference.h"
#include "classifier/limits.h"
#include "classifier/network.h"
#include "core/artifact.h"
#include "core/categories.h"
#include "nn/weights.h"

namespace telvar::classifier {
namespace {

constexpr std::uint32_t kVersion = 3;
// Before version 3 there was no covariance among the features.
constexpr int kEarlyGroups = kFeatureGroups - 1;
constexpr std::uint32_t kMaxExemplars = 1u << 20;
constexpr std::uint32_t kMirrored = 1, kTurnedAny = 2, kUpsideDown = 4;  // bits of the symmetry

void write_exemplars(core::ByteWriter& writer, const ClassifierState& state) {
  writer.u32(static_cast<std::uint32_t>(state.exemplars.size()));
  for (const Exemplar& sample : state.exemplars) {
    writer.u32(static_cast<std::uint32_t>(sample.category));
    writer.u8(static_cast<std::uint8_t>(sample.fold));
    writer.raw(sample.pixels.data(), sample.pixels.size());
  }
}

void read_exemplars(core::ByteReader& reader, ClassifierState& state) {
  const std::uint32_t count = reader.count("kept samples", 0, kMaxExemplars);
  const auto last = static_cast<std::uint32_t>(state.categories.size()) - 1;
  for (std::uint32_t i = 0; i < count; ++i) {
    Exemplar sample;
    sample.category = static_cast<int>(reader.count("category of a kept sample", 0, last));
    sample.fold = reader.u8("fold");
    const std::string_view pixels = reader.raw("kept sample", state.canvas.sample_size());
    sample.pixels.assign(pixels.begin(), pixels.end());
    state.exemplars.push_back(std::move(sample));
  }
}

Symmetry read_symmetry(core::ByteReader& reader, const Canvas& canvas) {
  // Being turned any way and upside down only exclude each other.
  constexpr std::uint32_t kMost = kMirrored + kUpsideDown;
  const std::uint32_t bits = reader.count("symmetry", 0, kMost);
  if (bits & kTurnedAny && canvas.width != canvas.height) {
    throw core::malformed_bytes("symmetry: turned any way, but the canvas is not square");
  }
  return {(bits & kMirrored) != 0, bits & kTurnedAny    ? Turns::kAny
                                   : bits & kUpsideDown ? Turns::kUpsideDown
                                                        : Turns::kNone};
}

void write_symmetry(core::ByteWriter& writer, const Symmetry& symmetry) {
  writer.u32((symmetry.mirrored ? kMirrored : 0) |
             (symmetry.turns == Turns::kAny ? kTurnedAny : 0) |
             (symmetry.turns == Turns::kUpsideDown ? kUpsideDown : 0));
}

std::vector<const Sample*> landmarks_of(const ClassifierState& state, std::uint32_t count) {
  std::vector<const Sample*> samples;
  for (std::uint32_t i = 0; i < count; ++i) samples.push_back(&state.exemplars[i].pixels);
  return samples;
}

std::vector<int> labels_of(const ClassifierState& state, std::uint32_t count) {
  std::vector<int> labels;
  for (std::uint32_t i = 0; i < count; ++i) labels.push_back(state.exemplars[i].category);
  return labels;
}

ClassifierState read_payload(core::ByteReader& reader, std::uint32_t version,
                             core::WorkerPool& pool) {
  ClassifierState state;
  state.categories = core::read_categories(reader, kMinCategories, kMaxCategories, kMaxIdentifier);
  state.canvas = read_canvas(reader);
  const int categories = static_cast<int>(state.categories.size());
  for (std::uint32_t left = reader.count("networks", 1, kMaxNets); left > 0; --left) {
    nn::Network net = network_layers(state.canvas, categories);
    nn::read_weights(reader, net);
    state.nets.push_back(std::move(net));
  }
  state.stacking.network = reader.f32("network weight");
  state.stacking.kernel = reader.f32("kernel weight");
  read_exemplars(reader, state);
  state.symmetry = read_symmetry(reader, state.canvas);
  const auto most = std::min<std::size_t>(kMaxLandmarks, state.exemplars.size());
  const std::uint32_t landmarks = reader.count("landmarks", 0, static_cast<std::uint32_t>(most));
  state.has_kernel = landmarks > 0;
  if (state.has_kernel) {
    state.kernel = KernelMachine::read(reader, version >= 3 ? kFeatureGroups : kEarlyGroups,
                                       static_cast<int>(landmarks), categories);
    if (version >= 2) state.novelty = read_novelty(reader, categories, version);
    if (!state.novelty) state.kernel.leave_out_covariances();
    state.kernel.place_landmarks(
        describe_all(landmarks_of(state, landmarks), state.canvas, state.kernel.groups(), pool),
        labels_of(state, landmarks), orders_under(state.canvas, transforms_of(state.symmetry)));
  }
  return state;
}

}  // namespace

std::string write_state(const ClassifierState& state) {
  core::ByteWriter writer;
  core::write_categories(writer, state.categories);
  write_canvas(writer, state.canvas);
  writer.u32(static_cast<std::uint32_t>(state.nets.size()));
  for (const nn::Network& net : state.nets) nn::write_weights(writer, net);
  writer.f32(state.stacking.network);
  writer.f32(state.stacking.kernel);
  write_exemplars(writer, state);
  write_symmetry(writer, state.symmetry);
  writer.u32(static_cast<std::uint32_t>(state.has_kernel ? state.kernel.samples() : 0));
  if (state.has_kernel) {
    state.kernel.write(writer);
    write_novelty(writer, state.novelty);
  }
  return core::write_artifact(core::Tool::kClassifier, kVersion, writer.bytes());
}

ClassifierState read_state(const std::string& artifact, core::WorkerPool& pool) {
  const auto opened = core::open_artifact(artifact, core::Tool::kClassifier, kVersion);
  return core::parse_payload(
      core::Tool::kClassifier, opened.payload,
      [&](core::ByteReader& reader) { return read_payload(reader, opened.version, pool); });
}

}  // namespace telvar::classifier

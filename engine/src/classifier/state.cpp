#include "classifier/state.h"

#include <algorithm>

#include "classifier/limits.h"
#include "classifier/network.h"
#include "core/artifact.h"
#include "core/library_threads.h"
#include "nn/weights.h"

namespace telvar::classifier {
namespace {

constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kMaxKeptSamples = 1u << 20;
constexpr std::uint32_t kMirrored = 1, kTurnedAny = 2, kUpsideDown = 4;  // bits of the symmetry

void write_kept(core::ByteWriter& writer, const ClassifierState& state) {
  writer.u32(static_cast<std::uint32_t>(state.kept.size()));
  for (const KeptSample& sample : state.kept) {
    writer.u32(static_cast<std::uint32_t>(sample.category));
    writer.u8(static_cast<std::uint8_t>(sample.fold));
    writer.raw(sample.pixels.data(), sample.pixels.size());
  }
}

void read_kept(core::ByteReader& reader, ClassifierState& state) {
  const std::uint32_t count = reader.count("kept samples", 0, kMaxKeptSamples);
  const auto last = static_cast<std::uint32_t>(state.categories.size()) - 1;
  for (std::uint32_t i = 0; i < count; ++i) {
    KeptSample sample;
    sample.category = static_cast<int>(reader.count("category of a kept sample", 0, last));
    sample.fold = reader.u8("fold");
    const std::string_view pixels = reader.raw("kept sample", state.canvas.sample_size());
    sample.pixels.assign(pixels.begin(), pixels.end());
    state.kept.push_back(std::move(sample));
  }
}

void read_categories(core::ByteReader& reader, ClassifierState& state) {
  const std::uint32_t count = reader.count("categories", kMinCategories, kMaxCategories);
  for (std::uint32_t i = 0; i < count; ++i) {
    state.categories.emplace_back(reader.text("category identifier", kMaxIdentifier));
    if (i > 0 && !(state.categories[i - 1] < state.categories[i])) {
      throw core::malformed_bytes("category identifiers are not ascending");
    }
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
  for (std::uint32_t i = 0; i < count; ++i) samples.push_back(&state.kept[i].pixels);
  return samples;
}

ClassifierState read_payload(core::ByteReader& reader, core::WorkerPool& pool) {
  ClassifierState state;
  read_categories(reader, state);
  state.canvas = read_canvas(reader);
  const int categories = static_cast<int>(state.categories.size());
  for (std::uint32_t left = reader.count("networks", 1, kMaxNets); left > 0; --left) {
    nn::Network net = network_layers(state.canvas, categories);
    nn::read_weights(reader, net);
    state.nets.push_back(std::move(net));
  }
  state.stacking.network = reader.f32("network weight");
  state.stacking.kernel = reader.f32("kernel weight");
  read_kept(reader, state);
  state.symmetry = read_symmetry(reader, state.canvas);
  const auto most = std::min<std::size_t>(kMaxLandmarks, state.kept.size());
  const std::uint32_t landmarks = reader.count("landmarks", 0, static_cast<std::uint32_t>(most));
  state.has_kernel = landmarks > 0;
  if (state.has_kernel) {
    state.kernel = KernelMachine::read(reader, static_cast<int>(landmarks), categories);
    state.kernel.place_landmarks(describe_all(landmarks_of(state, landmarks), state.canvas, pool),
                                 orders_in_views(state.canvas, views_of(state.symmetry)));
  }
  return state;
}

}  // namespace

void make_ready(ClassifierState& state) {
  state.answers.clear();
  for (const nn::Network& net : state.nets) state.answers.emplace_back(net, state.canvas);
}

std::string write_classifier(const ClassifierState& state) {
  core::ByteWriter writer;
  writer.u32(static_cast<std::uint32_t>(state.categories.size()));
  for (const std::string& category : state.categories) writer.text(category);
  write_canvas(writer, state.canvas);
  writer.u32(static_cast<std::uint32_t>(state.nets.size()));
  for (const nn::Network& net : state.nets) nn::write_weights(writer, net);
  writer.f32(state.stacking.network);
  writer.f32(state.stacking.kernel);
  write_kept(writer, state);
  write_symmetry(writer, state.symmetry);
  writer.u32(static_cast<std::uint32_t>(state.has_kernel ? state.kernel.samples() : 0));
  if (state.has_kernel) state.kernel.write(writer);
  return core::write_artifact(core::Tool::kClassifier, kVersion, writer.bytes());
}

ClassifierState read_classifier(const std::string& artifact, core::WorkerPool& pool) {
  const auto opened = core::open_artifact(artifact, core::Tool::kClassifier, kVersion);
  const core::LibraryThreadScope scope;
  return core::parse_payload(
      core::Tool::kClassifier, opened.payload,
      [&pool](core::ByteReader& reader) { return read_payload(reader, pool); });
}

void prepare_for_answers(ClassifierState& state) {
  make_ready(state);
  state.kept = {};
  state.nets = {};
}

std::vector<Features> describe_all(const std::vector<const Sample*>& samples, const Canvas& canvas,
                                   core::WorkerPool& pool) {
  constexpr std::size_t kBlock = 32;
  std::vector<Features> features(samples.size());
  pool.run(static_cast<int>((samples.size() + kBlock - 1) / kBlock), [&](int block) {
    const std::size_t first = block * kBlock;
    for (std::size_t i = first; i < std::min(samples.size(), first + kBlock); ++i) {
      features[i] = describe(*samples[i], canvas);
    }
  });
  return features;
}

Matrix mean_logits(const ClassifierState& state, const std::vector<const Sample*>& samples,
                   core::WorkerPool& pool) {
  const int categories = static_cast<int>(state.categories.size());
  Matrix mean(static_cast<int>(samples.size()), categories);
  for (const NetworkAnswers& net : state.answers) {
    const Matrix logits = net.logits(samples, pool);
    for (int i = 0; i < mean.rows(); ++i) {
      for (int c = 0; c < categories; ++c) {
        mean.at(i, c) += logits.at(i, c) / static_cast<float>(state.answers.size());
      }
    }
  }
  return mean;
}

Matrix kernel_scores(const ClassifierState& state, const std::vector<const Sample*>& samples,
                     core::WorkerPool& pool) {
  constexpr std::size_t kBlock = 1024;
  Matrix scores(static_cast<int>(samples.size()), static_cast<int>(state.categories.size()));
  for (std::size_t first = 0; first < samples.size(); first += kBlock) {
    const std::vector<const Sample*> block(
        samples.begin() + first, samples.begin() + std::min(samples.size(), first + kBlock));
    const Matrix found = state.kernel.scores(describe_all(block, state.canvas, pool), pool);
    for (int i = 0; i < found.rows(); ++i) {
      std::copy_n(found.row(i), found.columns(), scores.row(static_cast<int>(first) + i));
    }
  }
  return scores;
}

Matrix scores_of(const ClassifierState& state, const std::vector<const Sample*>& samples,
                 core::WorkerPool& pool) {
  const core::LibraryThreadScope scope;
  Matrix kernel;
  if (state.has_kernel) kernel = kernel_scores(state, samples, pool);
  return stacked_scores(state.stacking, mean_logits(state, samples, pool), kernel);
}

}  // namespace telvar::classifier

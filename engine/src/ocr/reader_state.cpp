#include "ocr/reader_state.h"

#include <algorithm>

#include "core/artifact.h"
#include "nn/weights.h"
#include "ocr/reader_net.h"

namespace telvar::ocr {
namespace {

NominalSize read_size(core::ByteReader& reader) {
  NominalSize size{};
  size.width = reader.f32("character width");
  size.height = reader.f32("character height");
  try {
    check_nominal_size(size, "the size");
  } catch (const types::invalid_parameters& error) {
    throw core::malformed_bytes(error.what());
  }
  return size;
}

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
    exemplar.excerpt = true;
    if (exemplar.width > kExemplarWidth || exemplar.height > kExemplarHeight) {
      throw core::malformed_bytes("an exemplar is larger than its limit");
    }
  }
  return exemplars;
}

/// What version 2 added.
void read_additions(core::ByteReader& reader, ReaderState& state) {
  state.sharpness = reader.f32("sharpness");
  if (state.sharpness < kLeastSharpness || state.sharpness > kMostSharpness) {
    throw core::malformed_bytes("sharpness out of range");
  }
  state.base = reader.u32("base");
  state.seen.resize(reader.count("images seen", 0, kMaxSeen));
  for (std::uint64_t& digest : state.seen) digest = reader.u64("digest of an image");
  if (!std::is_sorted(state.seen.begin(), state.seen.end())) {
    throw core::malformed_bytes("the digests of the images seen are not in ascending order");
  }
}

ReaderState parse(core::ByteReader& reader, std::uint32_t version) {
  ReaderState state;
  state.size = read_size(reader);
  state.generation = reader.u32("generation");
  state.categories = read_categories(reader);
  const int categories = static_cast<int>(state.categories.size());
  state.spacing = Spacing::read(reader, categories);
  state.net = reader_layers(categories);
  nn::read_weights(reader, state.net);
  state.exemplars = read_exemplars(reader, static_cast<std::uint32_t>(categories));
  if (version > 1) read_additions(reader, state);
  return state;
}

}  // namespace

std::string write_reader_state(const ReaderState& state) {
  core::ByteWriter writer;
  writer.f32(state.size.width);
  writer.f32(state.size.height);
  writer.u32(state.generation);
  writer.u32(static_cast<std::uint32_t>(state.categories.size()));
  for (const std::string& category : state.categories) writer.text(category);
  state.spacing.write(writer);
  nn::write_weights(writer, state.net);
  writer.u32(static_cast<std::uint32_t>(state.exemplars.size()));
  for (const PreparedSample& exemplar : state.exemplars) write_sample(writer, exemplar);
  writer.f32(state.sharpness);
  writer.u32(state.base);
  writer.u32(static_cast<std::uint32_t>(state.seen.size()));
  for (const std::uint64_t digest : state.seen) writer.u64(digest);
  return core::write_artifact(core::Tool::kOcr, kArtifactVersion, writer.bytes());
}

ReaderState read_reader_state(const std::string& artifact) {
  const core::OpenedArtifact opened =
      core::open_artifact(artifact, core::Tool::kOcr, kArtifactVersion);
  return core::parse_payload(core::Tool::kOcr, opened.payload, [&](core::ByteReader& reader) {
    return parse(reader, opened.version);
  });
}

}  // namespace telvar::ocr

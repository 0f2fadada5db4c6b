#include "ocr/state.h"

#include <algorithm>
#include <iterator>

#include "core/artifact.h"
#include "ocr/limits.h"

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

/// What version 2 added.
void read_calibration_and_origin(core::ByteReader& reader, ReaderState& state) {
  state.experts.front().sharpness = read_sharpness(reader);
  state.base = reader.u32("base");
  state.seen.resize(reader.count("images seen", 0, kMaxSeen));
  for (std::uint64_t& digest : state.seen) digest = reader.u64("digest of an image");
  if (!std::is_sorted(state.seen.begin(), state.seen.end())) {
    throw core::malformed_bytes("the digests of the images seen are not in ascending order");
  }
}

/// What version 3 added.
void read_further_experts(core::ByteReader& reader, ReaderState& state) {
  const std::uint32_t count = reader.count("further experts", 0, kMaxExperts - 1);
  for (std::uint32_t i = 0; i < count; ++i) {
    state.experts.push_back(read_expert(reader));
    state.experts.back().sharpness = read_sharpness(reader);
  }
  if (state.categories().size() > static_cast<std::size_t>(kMaxCategories)) {
    throw core::malformed_bytes("the experts have too many categories together");
  }
}

ReaderState parse(core::ByteReader& reader, std::uint32_t version) {
  ReaderState state;
  state.size = read_size(reader);
  state.generation = reader.u32("generation");
  state.experts.push_back(read_expert(reader));
  if (version > 1) read_calibration_and_origin(reader, state);
  if (version > 2) read_further_experts(reader, state);
  return state;
}

}  // namespace

std::vector<std::string> ReaderState::categories() const {
  std::vector<std::string> all;
  for (const Expert& expert : experts) {
    std::vector<std::string> joined;
    std::set_union(all.begin(), all.end(), expert.categories.begin(), expert.categories.end(),
                   std::back_inserter(joined));
    all = std::move(joined);
  }
  return all;
}

std::string write_state(const ReaderState& state) {
  core::ByteWriter writer;
  writer.f32(state.size.width);
  writer.f32(state.size.height);
  writer.u32(state.generation);
  write_expert(writer, state.experts.front());
  writer.f32(state.experts.front().sharpness);
  writer.u32(state.base);
  writer.u32(static_cast<std::uint32_t>(state.seen.size()));
  for (const std::uint64_t digest : state.seen) writer.u64(digest);
  writer.u32(static_cast<std::uint32_t>(state.experts.size() - 1));
  for (std::size_t i = 1; i < state.experts.size(); ++i) {
    write_expert(writer, state.experts[i]);
    writer.f32(state.experts[i].sharpness);
  }
  return core::write_artifact(core::Tool::kOcr, kArtifactVersion, writer.bytes());
}

ReaderState read_state(const std::string& artifact) {
  const core::OpenedArtifact opened =
      core::open_artifact(artifact, core::Tool::kOcr, kArtifactVersion);
  return core::parse_payload(core::Tool::kOcr, opened.payload, [&](core::ByteReader& reader) {
    return parse(reader, opened.version);
  });
}

}  // namespace telvar::ocr

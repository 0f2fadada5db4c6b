// The state file: what a trained tool needs to be used again, in one checksummed file.
// docs/host.md gives its layout.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "app/tool_kind.h"

namespace telvar_host {

struct StateFile {
  ToolKind tool = ToolKind::kClassifier;
  NominalSize size;  // OCR only
  std::string artifact;
  std::string train_cache;
  std::string about = {};  // the description; empty in version 1
};

std::string serialised(const StateFile& state);
// Bytes of the file.
std::size_t serialised_size(const StateFile& state);

// Throws data_error "NAME: ..." saying which part is damaged: the magic, the version, the header,
// the tool, the size, the length of the file, the artifact, the train cache or the description.
// Nothing is allocated before the lengths agree with the bytes there are.
StateFile parse_state(std::string_view bytes, const std::string& name);

// The header is checked before the rest is read. Artifact and train cache are below 16 GiB each,
// the description below 16 MiB.
StateFile read_state(const std::filesystem::path& path);
void write_state(const std::filesystem::path& path, const StateFile& state, bool force);
// The same; but a state that cannot be written there (the folder went away, the disk is full) is
// written into the system's folder for temporary files, and the error says where it is.
void write_state_or_keep(const std::filesystem::path& path, const StateFile& state, bool force);

}  // namespace telvar_host

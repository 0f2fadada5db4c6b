// The state file: what a trained tool needs to be used again, in one checksummed file.
//
// Layout, little endian:
//
//   offset  size  content
//        0     8  magic "TLVSTATE"
//        8     4  format version: 2, or 1 without a description
//       12     4  tool: 1 ocr, 2 classifier, 3 segmenter
//       16     4  width of the last OCR training, IEEE single precision; 0 for the other tools
//       20     4  height, likewise
//       24     8  length of the artifact in bytes
//       32     8  XXH64 (seed 0) of the artifact
//       40     8  length of the train cache in bytes
//       48     8  XXH64 of the train cache
//       56     8  XXH64 of bytes 0 to 55
//       64        artifact, then train cache; in version 1 then the end of the file
//                  in version 2: 8 bytes length of the description, above 0; 8 bytes XXH64 of it;
//                  the description, JSON in UTF-8 (see state_about.h); the end of the file
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
// Nothing is allocated
// before the lengths agree with the bytes there are.
StateFile parse_state(std::string_view bytes, const std::string& name);

// The header is checked before the rest is read. Artifact and train cache are below 16 GiB each,
// the description below 16 MiB.
StateFile read_state(const std::filesystem::path& path);
void write_state(const std::filesystem::path& path, const StateFile& state, bool force);
// The same; but a state that cannot be written there (the folder went away, the disk is full) is
// written into the system's folder for temporary files, and the error says where it is.
void write_state_or_keep(const std::filesystem::path& path, const StateFile& state, bool force);

}  // namespace telvar_host

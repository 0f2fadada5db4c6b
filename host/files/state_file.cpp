#include "files/state_file.h"

#include <cstring>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "app/errors.h"
#include "app/text.h"
#include "files/input.h"
#include "files/output.h"
#include "files/platform.h"

namespace telvar_host {
namespace {

constexpr std::string_view kMagic = "TLVSTATE";
constexpr std::uint32_t kVersion = 2;  // 1 without a description
constexpr std::size_t kChecked = 56;   // bytes of the header before its checksum
constexpr std::size_t kHeader = 64;
constexpr std::size_t kTail = 16;  // of version 2, before the description
// Bytes, and pixels: far above any that were ever written, so that a damaged header cannot have
// the program allocate whatever it says.
constexpr std::uint64_t kLargestPart = std::uint64_t{1} << 34;
constexpr std::uint64_t kLargestAbout = std::uint64_t{1} << 24;
constexpr float kLargestSize = 1e6f;

template <typename Number>
void append(std::string& bytes, Number value) {
  for (std::size_t i = 0; i < sizeof value; ++i) {
    bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  }
}

template <typename Number>
Number number_at(std::string_view bytes, std::size_t offset) {
  Number value = 0;
  for (std::size_t i = 0; i < sizeof value; ++i) {
    value |= static_cast<Number>(static_cast<unsigned char>(bytes[offset + i])) << (8 * i);
  }
  return value;
}

std::uint32_t bits_of(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

float float_at(std::string_view bytes, std::size_t offset) {
  const auto bits = number_at<std::uint32_t>(bytes, offset);
  float value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::uint64_t checksum(std::string_view bytes) {
  return XXH64(bytes.data(), bytes.size(), 0);
}

// The header, checked by itself: what it announces may still be wrong of the rest.
struct Header {
  std::uint32_t version;
  ToolKind tool;
  NominalSize size;
  std::uint64_t artifact_bytes, artifact_sum, cache_bytes, cache_sum;

  bool is_described() const { return version > 1; }
  std::uint64_t part_bytes() const { return artifact_bytes + cache_bytes; }  // below 2^35
};

// Throws unless the header is there as it was written, in a version that is known.
std::uint32_t checked_version(std::string_view bytes, const std::string& name) {
  if (bytes.size() < kMagic.size() || bytes.substr(0, kMagic.size()) != kMagic) {
    throw data_error(name + ": is no telvar state file (wrong magic)");
  }
  if (bytes.size() < kHeader) {
    throw data_error(name + ": damaged state file: the header is cut off (" +
                     std::to_string(bytes.size()) + " of 64 bytes)");
  }
  if (number_at<std::uint64_t>(bytes, kChecked) != checksum(bytes.substr(0, kChecked))) {
    throw data_error(name + ": damaged state file: the header's checksum is wrong");
  }
  const auto version = number_at<std::uint32_t>(bytes, 8);
  if (version < 1 || version > kVersion) {
    throw data_error(name + ": state file of format version " + std::to_string(version) +
                     "; this program reads versions 1 and 2");
  }
  return version;
}

ToolKind tool_in(std::string_view bytes, const std::string& name) {
  const auto tool = number_at<std::uint32_t>(bytes, 12);
  if (tool < 1 || tool > 3) {
    throw data_error(name + ": state file of an unknown tool (" + std::to_string(tool) + ")");
  }
  return static_cast<ToolKind>(tool);
}

NominalSize size_in(std::string_view bytes, ToolKind tool, const std::string& name) {
  const NominalSize size{float_at(bytes, 16), float_at(bytes, 20)};
  // Comparisons with what is no number are false.
  const auto fits = [](float value) { return value >= 0 && value <= kLargestSize; };
  const bool valid = tool == ToolKind::kOcr ? fits(size.width) && fits(size.height)
                                            : size.width == 0 && size.height == 0;
  if (valid) return size;
  throw data_error(name + ": damaged state file: the character size of " + fixed(size.width, 1) +
                   " x " + fixed(size.height, 1) + " is invalid");
}

Header read_header(std::string_view bytes, const std::string& name) {
  Header header{};
  header.version = checked_version(bytes, name);
  header.artifact_bytes = number_at<std::uint64_t>(bytes, 24);
  header.artifact_sum = number_at<std::uint64_t>(bytes, 32);
  header.cache_bytes = number_at<std::uint64_t>(bytes, 40);
  header.cache_sum = number_at<std::uint64_t>(bytes, 48);
  if (header.artifact_bytes >= kLargestPart || header.cache_bytes >= kLargestPart) {
    throw data_error(name + ": damaged state file: the header announces " +
                     std::to_string(header.artifact_bytes) + " + " +
                     std::to_string(header.cache_bytes) + " bytes, more than any state has");
  }
  header.tool = tool_in(bytes, name);
  header.size = size_in(bytes, header.tool, name);
  return header;
}

void check_length(const Header& header, std::uint64_t rest, const std::string& name) {
  const bool fits =
      header.is_described() ? rest >= header.part_bytes() + kTail : rest == header.part_bytes();
  if (fits) return;
  throw data_error(
      name + ": damaged state file: " + std::to_string(rest) +
      " bytes follow the header, which announces " + std::to_string(header.artifact_bytes) + " + " +
      std::to_string(header.cache_bytes) + (header.is_described() ? " and a description" : ""));
}

std::string_view checked_part(std::string_view part, std::uint64_t sum, const char* what,
                              const std::string& name) {
  if (checksum(part) == sum) return part;
  throw data_error(name + ": damaged state file: the " + what + "'s checksum is wrong");
}

// The description from the end of a file.
std::string_view about_in(std::string_view tail, const std::string& name) {
  const auto length = number_at<std::uint64_t>(tail, 0);
  const auto about = tail.substr(kTail);
  if (length == 0 || length != about.size() || length > kLargestAbout) {
    throw data_error(name + ": damaged state file: the description has " +
                     std::to_string(about.size()) + " bytes, not " + std::to_string(length));
  }
  if (checksum(about) != number_at<std::uint64_t>(tail, 8)) {
    throw data_error(name + ": damaged state file: the description's checksum is wrong");
  }
  return about;
}

}  // namespace

std::string serialised(const StateFile& state) {
  std::string bytes(kMagic);
  append(bytes, state.about.empty() ? std::uint32_t{1} : kVersion);
  append(bytes, static_cast<std::uint32_t>(state.tool));
  append(bytes, bits_of(state.size.width));
  append(bytes, bits_of(state.size.height));
  append(bytes, static_cast<std::uint64_t>(state.artifact.size()));
  append(bytes, checksum(state.artifact));
  append(bytes, static_cast<std::uint64_t>(state.train_cache.size()));
  append(bytes, checksum(state.train_cache));
  append(bytes, checksum(bytes));
  bytes += state.artifact + state.train_cache;
  if (state.about.empty()) return bytes;
  append(bytes, static_cast<std::uint64_t>(state.about.size()));
  append(bytes, checksum(state.about));
  return bytes + state.about;
}

std::size_t serialised_size(const StateFile& state) {
  return kHeader + state.artifact.size() + state.train_cache.size() +
         (state.about.empty() ? 0 : kTail + state.about.size());
}

StateFile parse_state(std::string_view bytes, const std::string& name) {
  const Header header = read_header(bytes, name);
  const auto rest = bytes.substr(kHeader);
  check_length(header, rest.size(), name);
  StateFile state;
  state.tool = header.tool;
  state.size = header.size;
  const auto artifact = rest.substr(0, header.artifact_bytes);
  const auto cache = rest.substr(header.artifact_bytes, header.cache_bytes);
  state.artifact = checked_part(artifact, header.artifact_sum, "artifact", name);
  state.train_cache = checked_part(cache, header.cache_sum, "train cache", name);
  if (header.is_described()) state.about = about_in(rest.substr(header.part_bytes()), name);
  return state;
}

StateFile read_state(const std::filesystem::path& path) {
  std::error_code lost;
  if (std::filesystem::is_directory(path, lost)) {
    throw data_error(utf8(path) +
                     ": is a folder; a state is a file, which telvar train writes (telvar check "
                     "looks at data sets, telvar process at images)");
  }
  InputFile file(path);
  auto bytes = file.read(kHeader);
  const Header header = read_header(bytes, utf8(path));
  // One byte more than there may be shows that there are more.
  bytes += file.read(header.part_bytes() + kTail + kLargestAbout + 1);
  return parse_state(bytes, utf8(path));
}

void write_state(const std::filesystem::path& path, const StateFile& state, bool force) {
  write_file(path, serialised(state), force);
}

void write_state_or_keep(const std::filesystem::path& path, const StateFile& state, bool force) {
  try {
    write_state(path, state, force);
  } catch (const HostError& error) {
    std::error_code none;
    const auto folder = std::filesystem::temp_directory_path(none);
    const auto other = folder / (path.stem().u8string() + "-" + process_tag() + ".telvar");
    if (none) throw;
    write_state(other, state, true);
    throw failure(std::string(error.what()) + "; the state is in " + utf8(other) + " instead");
  }
}

}  // namespace telvar_host

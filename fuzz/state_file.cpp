// The program's state files: refused with an error, or exactly what was written.
// Input: 0 and a file; 1 and edits of a sound file; 2 and edits of its header, sealed again.
#include "files/state_file.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "app/errors.h"
#include "edited_bytes.h"

using namespace telvar::fuzz;

namespace {

constexpr std::size_t kSealed = 56;  // bytes under the header's checksum, which follows them

std::string sound_file() {
  telvar_host::StateFile state;
  state.tool = telvar_host::ToolKind::kClassifier;
  state.artifact = "an artifact";
  state.train_cache = "a train cache";
  return serialised(state);
}

std::string resealed(std::string file, Input& input) {
  const std::string header = edited(file.substr(0, kSealed), input);
  if (header.size() != kSealed) return header;
  std::uint64_t sum = XXH64(header.data(), header.size(), 0);
  std::string bytes;
  for (int i = 0; i < 8; ++i, sum >>= 8) bytes += static_cast<char>(sum & 0xFF);
  return header + bytes + file.substr(kSealed + 8);
}

std::string file_of(Input& input) {
  switch (input.number<std::uint8_t>() % 3) {
    case 0:
      return input.rest();
    case 1:
      return edited(sound_file(), input);
    default:
      return resealed(sound_file(), input);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string file = file_of(input);
  try {
    const telvar_host::StateFile state = telvar_host::parse_state(file, "state");
    require(serialised(state) == file, "a state that is read is written the same");
  } catch (const telvar_host::HostError& error) {
    require(error.code() == telvar_host::ExitCode::kBadData, "a damaged file is bad data");
  }
  return 0;
}

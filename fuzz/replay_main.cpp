// Runs a fuzz target over the files of its corpus, without a fuzzer.
//
//   replay_<target> <folder>
//
// Fails when the folder holds no file: a corpus that is not found must not pass for a clean one.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_input.h"

namespace {

std::vector<std::filesystem::path> files_in(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  telvar::fuzz::require(!stream.bad(), "the file can be read");
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <corpus folder>\n", argv[0]);
    return 2;
  }
  try {
    const auto files = files_in(argv[1]);
    for (const auto& file : files) {
      std::printf("%s\n", file.filename().c_str());
      std::fflush(stdout);
      replay(file);
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
}

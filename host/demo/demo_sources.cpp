#include "app/errors.h"
#include "demo/demo_sets.h"
#include "files/platform.h"

namespace fs = std::filesystem;

namespace telvar_host {

fs::path default_labels() {
  const fs::path marker = fs::path("segmenter_discs") / "classes.txt";
  auto installed = program_folder() / ".." / "share" / "telvar-wrappers" / "data";
  if (fs::exists(installed / marker)) return installed;
  for (auto folder = program_folder(); folder.has_relative_path(); folder = folder.parent_path()) {
    if (fs::exists(folder / "examples" / "data" / marker)) return folder / "examples" / "data";
  }
  throw data_error(
      "the demonstration's labels are neither installed nor in a folder above the program; "
      "give the project's examples/data with --labels");
}

}  // namespace telvar_host

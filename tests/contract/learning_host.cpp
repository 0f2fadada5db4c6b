// learning_host FOLDER train|use: trains the three tools and keeps their artifacts in the folder,
// or trains the one that learns quickest beside artifacts from there; requires right answers of
// all. For runs in strange environments.

#include <fstream>
#include <string>

#include "contract/little_tools.h"

namespace {

void keep(const std::string& folder, const little_tools::Artifacts& artifacts) {
  const auto write = [&](const char* name, const std::string& bytes) {
    std::ofstream(folder + "/" + name + ".artifact", std::ios::binary) << bytes;
  };
  write("reader", artifacts.reader);
  write("classifier", artifacts.classifier);
  write("segmenter", artifacts.segmenter);
}

void run(const std::string& folder, bool trains) {
  const LoadedLibrary library(TELVAR_WRAPPERS_LIBRARY);
  const auto factory = little_tools::factory_of(library);
  if (trains) {
    const little_tools::Tools tools(*factory, {});
    keep(folder, train(tools));
    return require_right_answers(tools);
  }
  little_tools::Artifacts artifacts = little_tools::kept_artifacts(folder);
  little_tools::require_right_answers({*factory, artifacts});
  artifacts.segmenter.clear();
  const little_tools::Tools tools(*factory, artifacts);
  little_tools::train_segmenter(tools);
  require_right_answers(tools);
}

}  // namespace

int main(int count, char** arguments) {
  return little_tools::exit_code_of([&] {
    little_tools::require(count == 3, "usage: learning_host FOLDER train|use");
    run(arguments[1], std::string(arguments[2]) == "train");
  });
}

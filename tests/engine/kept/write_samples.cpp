// Writes the samples of this version into a folder: write_samples FOLDER. Run it once when a
// version is released, and keep what it writes.

#include <cstdio>

#include "kept_samples.h"

namespace telvar::test {
namespace {

struct Folder {
  std::filesystem::path path;

  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path / name, std::ios::binary) << bytes;
  }

  template <class Cache>
  void write_cache(const std::string& name, const Cache& cache) const {
    std::ofstream stream(path / name, std::ios::binary);
    save(cache, stream);
  }
};

void write_reader(const Folder& folder) {
  const PageSet set = kept_pages();
  const auto cache = qv::ocr::TrainCache::create(1 << 20);
  const auto artifact = std::get<1>(qv::ocr::train("", set.dataset(), "", set.loader(), *cache));
  folder.write("reader.artifact", artifact);
  folder.write_cache("reader.cache", *cache);
  const qv::ocr::Model model(artifact, runtime_size(), types::CpuDevice());
  folder.write("reader.answer", read(model, unseen_page()).SerializeAsString());
}

void write_state(const Folder& folder) {
  const ImageSet set = kept_images();
  const auto cache = qv::classifier::TrainCache::create(false);
  const Trained trained = train(set, "", *cache);
  folder.write("classifier.artifact", trained.artifact);
  folder.write_cache("classifier.cache", *cache);
  const qv::classifier::Model model(trained.artifact, "", types::CpuDevice());
  for (int kind = 0; kind < 3; ++kind) {
    folder.write("classifier.answer" + std::to_string(kind),
                 model.process(types::ImageView(unseen_image(kind)), {1, 0, 0, 0, 1, 0}, {0, 0}));
  }
}

void write_segmenter(const Folder& folder) {
  const auto scenes = kept_scenes();
  const auto cache = qv::segmenter::TrainCache::create(false, 1 << 20);
  const auto artifact = std::get<1>(qv::segmenter::train("", scenes.message(), "", scenes.loader(),
                                                         scenes.mask_loader(), *cache, {}));
  folder.write("segmenter.artifact", artifact);
  folder.write_cache("segmenter.cache", *cache);
  const qv::segmenter::Model model(artifact, "", types::CpuDevice());
  folder.write("segmenter.answer",
               pixels_of(std::get<1>(
                   model.process(types::ImageView(unseen_scene()), {1, 0, 0, 0, 1, 0}, {0, 0}))));
}

}  // namespace
}  // namespace telvar::test

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: write_samples FOLDER\n");
    return 2;
  }
  const telvar::test::Folder folder{arguments[1]};
  std::filesystem::create_directories(folder.path);
  telvar::test::write_reader(folder);
  telvar::test::write_state(folder);
  telvar::test::write_segmenter(folder);
}

#include <algorithm>

#include "app/errors.h"
#include "app/text.h"
#include "datasets/layout.h"
#include "demo/demo_sets.h"
#include "files/input.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {

void write_discs(const DemoSources& sources, const std::string& folder, const ImageCounts& counts,
                 OutputFolder& out) {
  const auto frames = sources.root / "usr/share/visp-images-data/ViSP-images/mire-2";
  const auto labels = sources.labels / "segmenter_discs";
  for (const std::string part : {"train", "test"}) {
    const auto masks = labels / part / "masks";
    require_folder(masks);
    Problems lost;
    const auto entries = entries_in(masks, lost);
    lost.throw_if_any();
    const auto wanted = part == "train" ? counts.train : counts.test;
    for (std::size_t i = 0; i < std::min(wanted, entries.images.size()); ++i) {
      const auto& mask = entries.images[i];
      const auto name = mask.stem().u8string();
      const auto frame = frames / ("image." + name + ".pgm");
      if (!fs::exists(frame)) {
        throw data_error(utf8(frame) + ": no such file; install Debian's package visp-images-data");
      }
      out.write(path_from_utf8(folder + "/" + part + "/images/" + name + ".png"),
                encoded(read_image(frame), ".png"));
      out.write(path_from_utf8(folder + "/" + part + "/masks/" + name + ".png"), read_file(mask));
    }
    out.write(path_from_utf8(folder + "/" + part + "/classes.txt"),
              read_file(labels / "classes.txt"));
  }
}

}  // namespace telvar_host

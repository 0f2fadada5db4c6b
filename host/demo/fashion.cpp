#include <zlib.h>

#include <array>
#include <opencv2/core.hpp>

#include "app/errors.h"
#include "app/text.h"
#include "demo/demo_sets.h"
#include "files/input.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

constexpr std::array<const char*, 10> kNames = {"T-shirt", "Trouser",   "Pullover", "Dress",
                                                "Coat",    "Sandal",    "Shirt",    "Sneaker",
                                                "Bag",     "Ankle boot"};

std::string inflated(const fs::path& path, std::size_t limit) {
  const auto packed = read_file(path);
  z_stream stream{};
  constexpr int kGzip = 15 + 16;
  if (inflateInit2(&stream, kGzip) != Z_OK) throw failure("cannot start zlib");
  std::string bytes(limit, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
  stream.avail_out = static_cast<uInt>(bytes.size());
  const int result = inflate(&stream, Z_FINISH);
  bytes.resize(stream.total_out);
  inflateEnd(&stream);
  if (result != Z_STREAM_END)
    throw data_error(utf8(path) + ": is no whole gzip file of the expected size");
  return bytes;
}

// IDX: magic 0 0 8 DIMENSIONS, each extent as a big-endian 32-bit number, then bytes.
struct Idx {
  std::vector<std::size_t> extents;
  std::string values;
};

Idx read_idx(const fs::path& path) {
  if (!fs::exists(path)) {
    throw data_error(utf8(path) + ": no such file; install Debian's package dataset-fashion-mnist");
  }
  const auto bytes = inflated(path, 64U << 20);
  const auto byte = [&](std::size_t i) {
    return static_cast<std::size_t>(static_cast<unsigned char>(bytes[i]));
  };
  const std::size_t dimensions = bytes.size() < 4 ? 0 : byte(3);
  const std::size_t header = 4 + 4 * dimensions;
  if (bytes.size() < header || dimensions < 1 || dimensions > 3 || byte(2) != 8) {
    throw data_error(utf8(path) + ": is no IDX file of bytes");
  }
  Idx idx;
  std::size_t count = 1;
  for (std::size_t at = 4; at < header; at += 4) {
    idx.extents.push_back(byte(at) << 24 | byte(at + 1) << 16 | byte(at + 2) << 8 | byte(at + 3));
    count *= idx.extents.back();
  }
  if (bytes.size() != header + count)
    throw data_error(utf8(path) + ": has another length than it says");
  idx.values = bytes.substr(header);
  return idx;
}

void write_first(const fs::path& folder, const std::string& stem, std::size_t per_class,
                 const std::string& target, OutputFolder& out) {
  auto images = read_idx(folder / (stem + "-images-idx3-ubyte.gz"));
  const auto labels = read_idx(folder / (stem + "-labels-idx1-ubyte.gz"));
  if (images.extents.size() != 3 || labels.extents.size() != 1 ||
      images.extents[0] != labels.extents[0]) {
    throw data_error(utf8(folder) + ": images and labels do not belong together");
  }
  const std::size_t area = images.extents[1] * images.extents[2];
  std::array<std::size_t, kNames.size()> written{};
  for (std::size_t i = 0; i < labels.values.size(); ++i) {
    const auto label = static_cast<unsigned char>(labels.values[i]);
    if (label >= kNames.size() || written[label] == per_class) continue;
    const cv::Mat image(static_cast<int>(images.extents[1]), static_cast<int>(images.extents[2]),
                        CV_8U, images.values.data() + i * area);
    const auto number = std::to_string(++written[label]);
    out.write(target + "/" + kNames[label] + "/" +
                  std::string(3 - std::min<std::size_t>(3, number.size()), '0') + number + ".png",
              encoded(image, ".png"));
  }
}

}  // namespace

void write_fashion(const DemoSources& sources, const std::string& folder, const ImageCounts& counts,
                   OutputFolder& out) {
  const auto packages = sources.root / "usr/share/datasets/fashion-mnist";
  write_first(packages, "train", counts.train, folder + "/train", out);
  write_first(packages, "t10k", counts.test, folder + "/test", out);
}

}  // namespace telvar_host

#include <zlib.h>

#include <cstring>
#include <numeric>
#include <stdexcept>

#include "labelled_images.h"

namespace bench {
namespace {

std::vector<unsigned char> inflate_file(const std::string& path) {
  gzFile file = gzopen(path.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error(path + " cannot be opened");
  std::vector<unsigned char> bytes, buffer(1 << 16);
  for (int count; (count = gzread(file, buffer.data(), unsigned(buffer.size()))) > 0;) {
    bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + count);
  }
  gzclose(file);
  return bytes;
}

unsigned big_endian(const std::vector<unsigned char>& bytes, std::size_t at) {
  return unsigned(bytes[at]) << 24 | unsigned(bytes[at + 1]) << 16 | unsigned(bytes[at + 2]) << 8 |
         bytes[at + 3];
}

LabelledImages read_pair(const std::string& stem) {
  const auto pixels = inflate_file(stem + "-images-idx3-ubyte.gz");
  const auto labels = inflate_file(stem + "-labels-idx1-ubyte.gz");
  if (pixels.size() < 16 || labels.size() < 8) throw std::runtime_error(stem + ": too short");
  const unsigned count = big_endian(pixels, 4), height = big_endian(pixels, 8),
                 width = big_endian(pixels, 12);
  if (pixels.size() != 16 + std::size_t{count} * width * height || labels.size() != 8 + count) {
    throw std::runtime_error(stem + ": the sizes do not agree");
  }
  LabelledImages set;
  set.categories = 10;
  for (unsigned i = 0; i < count; ++i) {
    cv::Mat image(int(height), int(width), CV_8U);
    std::memcpy(image.data, pixels.data() + 16 + std::size_t{i} * width * height, width * height);
    set.images.push_back(image);
    set.labels.push_back(labels[8 + i]);
  }
  return set;
}

}  // namespace

SplitImages read_idx_folder(const std::string& folder) {
  SplitImages split{read_pair(folder + "/train"), read_pair(folder + "/t10k")};
  split.train.name = split.test.name = folder.substr(folder.rfind('/') + 1);
  return split;
}

LabelledImages draw_subset(const LabelledImages& all, int per_category, unsigned seed) {
  std::vector<int> order(all.images.size());
  std::iota(order.begin(), order.end(), 0);
  cv::RNG rng(seed * 7919 + 1);
  for (std::size_t i = order.size(); i > 1; --i) {
    std::swap(order[i - 1], order[rng.uniform(0, int(i))]);
  }
  LabelledImages subset;
  subset.name = all.name;
  subset.categories = all.categories;
  std::vector<int> counts(all.categories);
  for (const int i : order) {
    if (counts[all.labels[i]]++ >= per_category) continue;
    subset.images.push_back(all.images[i]);
    subset.labels.push_back(all.labels[i]);
  }
  return subset;
}

}  // namespace bench

#include "drawn_images.h"

#include <cmath>
#include <cstring>

#include "core/random.h"

namespace telvar::test {
namespace {

bool inside(int kind, float x, float y) {
  const float r = std::sqrt(x * x + y * y);
  switch (kind) {
    case 0:
      return r < 1 && r > 0.6f;
    case 1:
      return r < 1 && (std::abs(x) < 0.2f || std::abs(y) < 0.2f);
    case 2:
      return std::abs(x) < 0.9f && std::abs(y) < 0.3f;
    default:
      return std::hypot(std::abs(x) - 0.6f, std::abs(y) - 0.6f) < 0.3f;
  }
}

}  // namespace

types::Image draw_image(int kind, int number, unsigned channels, unsigned bits) {
  core::Random random({static_cast<std::uint64_t>(kind), static_cast<std::uint64_t>(number)});
  const auto width = 24u + static_cast<unsigned>(random.below(13));
  const auto height = 24u + static_cast<unsigned>(random.below(13));
  const unsigned stride = width * channels * bits / 8 + 3;
  std::vector<unsigned char> pixels(std::size_t{stride} * height, 0xEE);
  const float cx = static_cast<float>(width) * random.uniform(0.42f, 0.58f);
  const float cy = static_cast<float>(height) * random.uniform(0.42f, 0.58f);
  const float radius = random.uniform(7, 10), back = random.uniform(0.1f, 0.5f);
  const float contrast = random.uniform(0.2f, 0.45f);
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) {
      const bool on = inside(kind, (static_cast<float>(x) - cx) / radius,
                             (static_cast<float>(y) - cy) / radius);
      const float value = back + (on ? contrast : 0) + 0.03f * random.uniform();
      for (unsigned c = 0; c < channels; ++c) {
        // Colour images are red on blue.
        const float level = channels == 1 ? value : c == 1 ? back : (c == 0) == on ? back : value;
        unsigned char* out = pixels.data() + y * stride + (x * channels + c) * bits / 8;
        const auto wide = static_cast<std::uint16_t>(level * (bits == 8 ? 255 : 65535));
        const auto narrow = static_cast<unsigned char>(wide);
        std::memcpy(out, bits == 8 ? static_cast<const void*>(&narrow) : &wide, bits / 8);
      }
    }
  }
  const unsigned order = channels == 1 ? 0 : channels == 3 ? 1 : 3;
  return types::Image(width, height, stride, channels, bits, order, pixels.data());
}

void ImageSet::add(int kind, int first, int count, unsigned channels, unsigned bits) {
  const char* names[] = {"ring", "cross", "bar", "dots"};
  for (int number = first; number < first + count; ++number) {
    const std::string id = std::to_string(kind) + "/" + std::to_string(number);
    images[id] = draw_image(kind, number, channels, bits);
    labels[id] = names[kind];
  }
}

types::ImageLoader ImageSet::loader() const {
  return [this](const std::string& id) { return images.at(id); };
}

std::string ImageSet::dataset() const {
  messages::Dataset dataset;
  for (const auto& [id, label] : labels) {
    messages::Sample& sample = (*dataset.mutable_samples())["key " + id];
    sample.set_image_id(id);
    sample.set_category_id(label);
    (*dataset.mutable_categories())[label];
  }
  return dataset.SerializeAsString();
}

std::string ImageSet::batch() const {
  telvar_msg::common::Dataset dataset;
  for (const auto& item : images) {
    (*dataset.mutable_samples())["key " + item.first].set_image_id(item.first);
  }
  return dataset.SerializeAsString();
}

std::string parameters(int effort) {
  messages::TrainingParameters parameters;
  parameters.set_training_setting(effort);
  return parameters.SerializeAsString();
}

Trained train(const ImageSet& set, const std::string& artifact, engine::TrainCache& cache,
              int effort) {
  auto [result, trained] =
      engine::train(artifact, set.dataset(), parameters(effort), set.loader(), cache);
  Trained out;
  out.result.ParseFromString(result);
  out.artifact = std::move(trained);
  return out;
}

Trained train(const ImageSet& set, const std::string& artifact, int effort) {
  return train(set, artifact, *engine::TrainCache::create(false), effort);
}

double accuracy(const google::protobuf::Map<std::string, messages::SampleResult>& results,
                const ImageSet& set) {
  double right = 0;
  for (const auto& [key, sample] : results) {
    const messages::Score* best = nullptr;
    for (const auto& score : sample.scores()) {
      if (best == nullptr || score.score() > best->score()) best = &score;
    }
    right += best != nullptr && best->category_id() == set.labels.at(key.substr(4));
  }
  return right / static_cast<double>(set.images.size());
}

double accuracy(const std::string& artifact, const ImageSet& set) {
  messages::ProcessingResult result;
  result.ParseFromString(
      engine::process(artifact, set.batch(), set.loader(), *engine::TrainCache::create(false)));
  return accuracy(result.samples(), set);
}

}  // namespace telvar::test

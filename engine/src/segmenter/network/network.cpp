#include "segmenter/network/network.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace telvar::segmenter {
namespace {

/// Channels at each resolution, from full to a sixteenth. Thin structures need those at full
/// resolution: nets that begin at half of it, with twice the steps in the same time, missed more.
constexpr std::array<int, 5> kWidths{16, 32, 48, 64, 96};
constexpr std::size_t kLevels = kWidths.size() - 1;

/// Positive pixels are rare: start near probability 0.12 rather than 0.5.
constexpr float kInitialHeadBias = -2.0f;

constexpr const char* kStemWeight = "stem.convolution.weight";

/// The weights of input planes to their new places; those of new planes become 0.
void place_planes(const nn::Parameter& from, const std::vector<int>& places, nn::Parameter& to) {
  const std::size_t taps = std::size_t(to.shape[2]) * to.shape[3];
  const std::size_t old_planes = from.shape[1], planes = to.shape[1];
  std::fill(to.values.begin(), to.values.end(), 0.0f);
  for (std::size_t out = 0; out < std::size_t(to.shape[0]); ++out) {
    for (std::size_t in = 0; in < old_planes; ++in) {
      std::copy_n(from.values.begin() + std::ptrdiff_t((out * old_planes + in) * taps), taps,
                  to.values.begin() + std::ptrdiff_t((out * planes + places[in]) * taps));
    }
  }
}

}  // namespace

nn::Network network_layers(int planes, int categories) {
  nn::Network net;
  nn::ConvolutionOptions halving;
  halving.stride = 2;
  std::vector<nn::Node> seen{net.convolution("stem", net.input(planes), kWidths[0])};
  for (std::size_t i = 0; i < kLevels; ++i) {
    const std::string level = std::to_string(i);
    const nn::Node down = net.convolution("down" + level, seen.back(), kWidths[i + 1], halving);
    seen.push_back(net.convolution("refine" + level, down, kWidths[i + 1]));
  }
  nn::Node merged = seen.back();
  for (std::size_t i = kLevels; i-- > 0;) {
    merged = net.convolution("merge" + std::to_string(i), net.join(seen[i], merged), kWidths[i]);
  }
  net.pointwise("head", merged, categories);
  return net;
}

nn::Network make_initial_net(int planes, int categories, std::uint64_t seed) {
  nn::Network net = network_layers(planes, categories);
  core::Random random({seed});
  net.initialise(random);
  auto& bias = net.parameter("head.bias").values;
  std::fill(bias.begin(), bias.end(), kInitialHeadBias);
  return net;
}

nn::Network make_net_from(const nn::Network& base, int planes, int categories, std::uint64_t seed) {
  nn::Network net = make_initial_net(planes, categories, seed);
  net.adopt(base, "head", std::vector<int>(base.answer_channels(), nn::kNone));
  return net;
}

nn::Network grow_net(const nn::Network& old, const Growth& planes, const Growth& categories,
                     std::uint64_t seed) {
  nn::Network net = make_initial_net(planes.count, categories.count, seed);
  net.adopt(old, "head", categories.places);
  place_planes(old.parameter(kStemWeight), planes.places, net.parameter(kStemWeight));
  return net;
}

}  // namespace telvar::segmenter

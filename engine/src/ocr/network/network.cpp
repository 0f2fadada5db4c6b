#include "ocr/network/network.h"

#include <algorithm>
#include <string>

namespace telvar::ocr {
namespace {

/// Channels at half of the reading scale, where strokes are told apart, and at a quarter, a cell
/// each, where characters are. The built-in base and every artifact have these sizes.
constexpr int kFineChannels = 32;
constexpr int kChannels = 64;
/// One a residual layer. With two of 2 the receptive field spans a character and half of each of
/// its neighbours (kReceptiveRadius), which tells where one ends.
constexpr int kDilations[] = {1, 2, 1, 1, 2};
constexpr float kRareCharacter = -2.5f;  // logit of about one cell in thirteen
/// The standard deviation of the weights of new outputs: so small that all categories start alike.
constexpr float kHeadDeviation = 0.01f;

/// A 3 x 3 convolution whose input is added to its result.
nn::Node residual(nn::Network& net, const std::string& name, nn::Node from, int channels,
                  int dilation) {
  nn::ConvolutionOptions options;
  options.dilation = dilation;
  options.residual = from;
  return net.convolution(name, from, channels, options);
}

}  // namespace

nn::Network network_layers(int categories) {
  nn::Network net;
  nn::ConvolutionOptions stem, down;
  stem.kernel = 5;
  stem.stride = down.stride = 2;
  nn::Node out = net.convolution("stem", net.input(1), kFineChannels, stem);
  out = residual(net, "fine", out, kFineChannels, 1);
  out = net.convolution("down", out, kChannels, down);
  int number = 0;
  for (const int dilation : kDilations) {
    out = residual(net, "body." + std::to_string(number++), out, kChannels, dilation);
  }
  net.pointwise("head", out, kFirstCategory + categories);
  return net;
}

nn::Network make_network(int categories, core::Random& random) {
  nn::Network net = network_layers(categories);
  net.initialise(random);
  for (float& weight : net.parameter("head.weight").values) {
    weight = kHeadDeviation * random.normal();
  }
  net.parameter("head.bias").values[kObjectness] = kRareCharacter;
  return net;
}

int categories_of(const nn::Network& net) {
  return net.answer_channels() - kFirstCategory;
}

nn::Network widened(const nn::Network& net, int categories, const std::vector<int>& position,
                    core::Random& random) {
  std::vector<int> rows{kObjectness, kOffsetX, kOffsetY};
  for (const int place : position) {
    rows.push_back(place == nn::kNone ? nn::kNone : kFirstCategory + place);
  }
  nn::Network wide = make_network(categories, random);
  wide.adopt(net, "head", rows);
  return wide;
}

}  // namespace telvar::ocr

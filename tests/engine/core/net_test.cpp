#include "core/net.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/weights.h"

namespace telvar::core {
namespace {

void set_statistics(torch::nn::Module& module) {
  for (auto& [name, tensor] : state_of(module)) {
    if (name.find("running_mean") != std::string::npos) torch::Tensor(tensor).fill_(0.3);
    if (name.find("running_var") != std::string::npos) torch::Tensor(tensor).fill_(2.5);
  }
}

TEST(Weights, FillOnlyAModuleOfTheSameShape) {
  Random random({1});
  ResidualBlock source(2, 3, 2), same(2, 3, 2), wider(2, 4, 2);
  initialise(*source, random);
  ByteWriter writer;
  write_state(writer, *source);
  ByteReader reader(writer.bytes());
  read_state(reader, *same);
  reader.finish("weights");
  for (const auto& [name, tensor] : state_of(*source)) {
    EXPECT_TRUE(torch::equal(tensor, state_of(*same).at(name))) << name;
  }
  ByteReader again(writer.bytes());
  EXPECT_THROW(read_state(again, *wider), malformed_bytes);
}

TEST(Net, FoldingKeepsTheAnswers) {
  const torch::InferenceMode inference;
  Random random({2});
  ResidualBlock block(2, 3, 2);
  initialise(*block, random);
  set_statistics(*block);
  block->eval();
  const torch::Tensor input = torch::ones({1, 2, 7, 5});
  const torch::Tensor before = block(input).clone();
  fold_batch_norms(*block);
  EXPECT_TRUE(torch::allclose(block(input), before, 1e-4, 1e-5));
}

TEST(Net, TrainsTheSameInOneDnnsLayout) {
  Random random({4});
  const auto make_net = [] {
    torch::nn::Sequential net(ConvolutionBlock(ConvolutionShape{1, 16, 3, 1}),
                              ResidualBlock(16, 20, 2), ResidualBlock(20, 20));
    Random weights({5});
    initialise(*net, weights);
    return net;
  };
  torch::nn::Sequential plain_net = make_net(), blocked_net = make_net();
  torch::Tensor input = torch::empty({3, 1, 11, 8});
  for (int i = 0; i < input.numel(); ++i) input.data_ptr<float>()[i] = random.normal();
  const torch::Tensor expected = plain_net->forward(input);
  const torch::Tensor still_blocked = blocked_net->forward(blocked(input));
  EXPECT_EQ(still_blocked.is_mkldnn(), at::hasMKLDNN());
  const torch::Tensor found = plain(still_blocked);
  EXPECT_TRUE(torch::allclose(found, expected, 1e-4, 1e-5));
  // Unevenly, or else normalisation would leave no gradient.
  expected.pow(3).sum().backward();
  found.pow(3).sum().backward();
  const auto gradients = blocked_net->named_parameters();
  for (const auto& item : plain_net->named_parameters()) {
    const torch::Tensor wanted = item.value().grad();
    EXPECT_GT(wanted.abs().max().item<float>(), 1e-3) << item.key();
    EXPECT_TRUE(torch::allclose(gradients[item.key()].grad(), wanted, 1e-3, 1e-3)) << item.key();
  }
  for (const auto& [name, tensor] : state_of(*plain_net)) {
    EXPECT_TRUE(torch::allclose(state_of(*blocked_net).at(name), tensor, 1e-4, 1e-5)) << name;
  }
}

TEST(Net, FusedConvolutionsAnswerAsTheOperatorsDo) {
  const torch::InferenceMode inference;
  Random random({3});
  torch::nn::Sequential net(ConvolutionBlock(ConvolutionShape{2, 8, 5, 2, 1, true}),
                            ConvolutionBlock(ConvolutionShape{8, 8, 3, 1, 2, false}),
                            ConvolutionBlock(ConvolutionShape{8, 5, 1, 1, 1, false}));
  initialise(*net, random);
  set_statistics(*net);
  net->eval();
  auto &stem = *net[0]->as<ConvolutionBlock>(), &body = *net[1]->as<ConvolutionBlock>(),
       &head = *net[2]->as<ConvolutionBlock>();
  const FusedConvolutions fused({stem.fused(), body.fused(true), head.fused()}, torch::kFloat);
  const auto compare = [&](int height, int width) {
    const torch::Tensor input =
        torch::arange(2 * height * width).reshape({1, 2, height, width}).sin();
    const torch::Tensor trunk = stem.forward(input);
    const torch::Tensor wanted = head.forward((trunk + body.forward(trunk)).relu());
    return torch::allclose(fused(input), wanted, 1e-4, 1e-5);
  };
  for (const auto& [height, width] : {std::pair{33, 18}, {1, 1}, {7, 40}, {40, 60}}) {
    EXPECT_TRUE(compare(height, width)) << height << " x " << width;
  }
  bool beside = false;
  std::thread other([&] {
    const torch::InferenceMode there;
    beside = compare(64, 31);
  });
  EXPECT_TRUE(compare(31, 64));
  other.join();
  EXPECT_TRUE(beside);
}

}  // namespace
}  // namespace telvar::core

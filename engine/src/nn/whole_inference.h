#pragma once

// Inference layer by layer: each is computed for all images at once.

#include "nn/folded_network.h"
#include "nn/inference.h"
#include "nn/recently_used.h"
#include "nn/spare_memory.h"

namespace telvar::nn {

/// Where the layers' results lie in one block of memory: results whose lives do not overlap share
/// their place.
class MemoryPlan {
 public:
  MemoryPlan(const FoldedNetwork& network, const std::vector<TensorShape>& shapes);

  std::size_t bytes() const { return bytes_; }
  std::size_t offset(Node node) const { return offsets_[node]; }

 private:
  void place(Node node, std::size_t size, const std::vector<Node>& last_use);

  std::vector<std::size_t> offsets_, ends_;
  std::size_t bytes_ = 0;
};

class WholeInference {
 public:
  /// `network` must outlive this.
  explicit WholeInference(const FoldedNetwork& network);

  /// Any number of threads may call it at once.
  Answer operator()(const float* input, const InputSize& size);

 private:
  /// Everything that is ready to run for inputs of one size.
  struct Sized {
    std::vector<TensorShape> shapes;
    std::vector<PackedConvolution> convolutions;  // of each layer; empty where it is none
    MemoryPlan plan;
    std::size_t scratch_bytes;
  };

  Sized prepare(const InputSize& size) const;
  void run_layer(const Sized& ready, Node node, const Buffer& memory, Answer& answer) const;
  void run_mean(const Sized& ready, Node node, const void* values, void* out, Answer& answer) const;

  const FoldedNetwork& network_;
  RecentlyUsed<InputSize, Sized> sizes_;
  SpareMemory spare_;
};

}  // namespace telvar::nn

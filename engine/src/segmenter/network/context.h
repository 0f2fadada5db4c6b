#pragma once

// The context network: it sees a whole region at a coarse scale, so that what a pixel belongs to
// may depend on all of it.

#include <vector>

#include "nn/inference.h"
#include "nn/network.h"
#include "segmenter/network/context_map.h"
#include "segmenter/network/input_planes.h"

namespace telvar::segmenter {

/// The longer side of an overview, cells. A region is reduced to it, never enlarged. The network
/// sees 61 cells around each, so it sees all of an overview from nearly everywhere. In regions of
/// 96 cells it took one of two equal parts for the other more often, at twice the cost.
constexpr int kOverviewSide = 64;

/// The longer side of overviews in artifacts up to version 2; none was ever longer.
constexpr int kLongestOverview = 96;

/// Images that the fine network sees nearly whole need no context.
constexpr int kSeenWithoutContext = 128;

/// Two planes tell the context network where a pixel lies: x and y, -1..1 over the region, or 0
/// everywhere when it is not to be told.
constexpr int kPositionPlanes = 2;

/// Each network learned from the images of all folds but its own.
struct ContextModel {
  std::vector<nn::Network> nets;  // none: the fine network goes without context
  bool positions = false;         // whether the networks are told where a pixel lies
  int side = kOverviewSide;       // of the overviews, the longer one

  bool empty() const { return nets.empty(); }
};

/// Sides of the overview of a region.
struct OverviewSize {
  int width, height;
};
OverviewSize overview_size(int region_width, int region_height, int longer_side);

/// The networks at work. Immutable; any number of threads.
class ContextPredictor {
 public:
  /// Copies the weights. No networks: every map is empty.
  ContextPredictor(const ContextModel& model, const InputSpec& spec);

  bool empty() const { return nets_.empty(); }
  /// The longer side of the overviews that they take, cells.
  int side() const { return side_; }

  /// By all networks: the mean of their probabilities. `pixels`: an overview, source channels x
  /// height x width.
  ContextMap predict(const float* pixels, int width, int height) const;
  /// By one of them.
  ContextMap predict(const float* pixels, int width, int height, std::size_t net) const;

 private:
  std::vector<float> prepare(const float* pixels, int width, int height) const;
  void add(std::size_t net, const std::vector<float>& input, int width, int height, float share,
           std::vector<float>& probabilities) const;

  InputSpec spec_;
  bool positions_;
  int side_;
  std::vector<nn::Inference> nets_;
  int categories_ = 0;
};

}  // namespace telvar::segmenter

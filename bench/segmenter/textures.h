#pragma once

// Random surfaces to draw defects and mosaics on.

#include <opencv2/core.hpp>

namespace telvar::bench {

enum class Surface { grain, cast, brushed, woven, cells, ripple };
constexpr int kSurfaces = 6;

/// A random surface of `size` as CV_32F with mean 0 and standard deviation 1. `scale` stretches its
/// structure (1: the finest); `angle` (radians) turns the directed kinds.
cv::Mat make_surface(Surface kind, cv::Size size, double scale, double angle, cv::RNG& random);

/// Smooth noise with structure of about `sigma` pixels, CV_32F, mean 0, standard deviation 1.
cv::Mat smooth_noise(cv::Size size, double sigma, cv::RNG& random);

}  // namespace telvar::bench

#include "core/regions.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

// A region is singular when a pixel of it covers less than this area, in image pixels.
constexpr double kSmallestPixelArea = 1e-6;
// Limits of a transform, so that nothing computed from it overflows: image pixels per region pixel
// along one axis, and the distance of a corner from either axis, in image pixels.
constexpr int kLargestScale = 1000000;
constexpr std::int64_t kFarthestCorner = std::int64_t{1} << 31;

bool channels_match_order(unsigned channels, unsigned order) {
  if (channels == 1) return order == 0;
  if (channels == 3) return order == 1 || order == 2;
  return channels == 4 && (order == 3 || order == 4);
}

template <class... Parts>
std::string text(const Parts&... parts) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  (out << ... << parts);
  return out.str();
}

void check_extent(const types::ImageLayout& layout, const std::string& subject,
                  const ImageLimits& limits) {
  const auto [width, height, stride, channels, bits, order] = layout;
  const std::string what = text(subject, ": ", width, " x ", height, " px");
  if (width == 0 || height == 0) throw types::invalid_image_size(what + ", the image is empty");
  if (std::min(width, height) < limits.min_side) {
    throw types::invalid_image_size(text(what, ", the smallest side is ", limits.min_side, " px"));
  }
  if (std::max(width, height) > limits.max_side) {
    throw types::invalid_image_size(text(what, ", the largest side is ", limits.max_side, " px"));
  }
  if (std::uint64_t{width} * height > limits.max_pixels) {
    throw types::invalid_image_size(text(what, ", the limit is ", limits.max_pixels, " pixels"));
  }
}

void check_layout(const types::ImageLayout& layout, const std::string& subject) {
  const auto [width, height, stride, channels, bits, order] = layout;
  if (channels != 1 && channels != 3 && channels != 4) {
    throw types::invalid_image(text(subject, ": ", channels, " channels; 1, 3 or 4 are possible"));
  }
  if (bits != 8 && bits != 16) {
    throw types::invalid_image(
        text(subject, ": ", bits, " bits per channel; 8 or 16 are possible"));
  }
  if (!channels_match_order(channels, order)) {
    throw types::invalid_image(
        text(subject, ": channel order ", order, " does not go with ", channels, " channels"));
  }
  const std::uint64_t row_bytes = std::uint64_t{width} * channels * bits / 8;
  if (stride < row_bytes) {
    throw types::invalid_image(text(subject, ": a row of ", row_bytes,
                                    " bytes does not fit the stride of ", stride, " bytes"));
  }
}

struct Corners {
  double x[4], y[4];
};

/// Where the outer corners of the region's pixels lie in the image.
Corners corners_of(const types::AffineTransform& t, const types::Size2<unsigned>& size) {
  const double w = size.width, h = size.height;
  const double cx[4] = {-0.5, w - 0.5, -0.5, w - 0.5};
  const double cy[4] = {-0.5, -0.5, h - 0.5, h - 0.5};
  Corners corners{};
  for (int i = 0; i < 4; ++i) {
    corners.x[i] = t.a * cx[i] + t.b * cy[i] + t.c;
    corners.y[i] = t.d * cx[i] + t.e * cy[i] + t.f;
  }
  return corners;
}

/// Whether the parallelogram that the region covers in the image overlaps the image's pixels. Two
/// convex shapes overlap unless an edge of one separates them: the first test takes the image's
/// edges, the second, in the region's frame, those of the region.
bool overlaps(const types::AffineTransform& t, const types::Size2<unsigned>& size, double width,
              double height) {
  const double w = size.width, h = size.height;
  const auto [px, py] = corners_of(t, size);
  const auto [left, right] = std::minmax_element(px, px + 4);
  const auto [top, bottom] = std::minmax_element(py, py + 4);
  if (*right <= -0.5 || *left >= width - 0.5 || *bottom <= -0.5 || *top >= height - 0.5) {
    return false;
  }
  const double det = double(t.a) * t.e - double(t.b) * t.d;
  const double ix[4] = {-0.5, width - 0.5, -0.5, width - 0.5};
  const double iy[4] = {-0.5, -0.5, height - 0.5, height - 0.5};
  double qx[4], qy[4];
  for (int i = 0; i < 4; ++i) {
    const double dx = ix[i] - t.c, dy = iy[i] - t.f;
    qx[i] = (t.e * dx - t.b * dy) / det;
    qy[i] = (t.a * dy - t.d * dx) / det;
  }
  const auto [qleft, qright] = std::minmax_element(qx, qx + 4);
  const auto [qtop, qbottom] = std::minmax_element(qy, qy + 4);
  return !(*qright <= -0.5 || *qleft >= w - 0.5 || *qbottom <= -0.5 || *qtop >= h - 0.5);
}

void check_region_extent(const types::Size2<unsigned>& size, const std::string& subject,
                         const ImageLimits& limits) {
  const std::string what = text(subject, ": region of ", size.width, " x ", size.height, " px");
  if (size.width == 0 || size.height == 0) throw types::invalid_roi(what + " is empty");
  if (std::min(size.width, size.height) < limits.min_side) {
    throw types::invalid_roi(text(what, ", the smallest side is ", limits.min_side, " px"));
  }
  if (std::max(size.width, size.height) > limits.max_side ||
      std::uint64_t{size.width} * size.height > limits.max_pixels) {
    throw types::invalid_roi(text(what, ", the limits are ", limits.max_side, " px a side and ",
                                  limits.max_pixels, " pixels"));
  }
}

std::string text_of(const types::AffineTransform& t) {
  return text("a ", t.a, ", b ", t.b, ", c ", t.c, ", d ", t.d, ", e ", t.e, ", f ", t.f);
}

void check_finite(const types::AffineTransform& t, const std::string& subject) {
  for (const float value : {t.a, t.b, t.c, t.d, t.e, t.f}) {
    if (!std::isfinite(value)) {
      throw types::invalid_roi(subject + ": the region's transform is not finite: " + text_of(t));
    }
  }
}

void check_reach(const types::AffineTransform& t, const types::Size2<unsigned>& size,
                 const std::string& subject) {
  for (const float scale : {t.a, t.b, t.d, t.e}) {
    if (std::abs(scale) > float(kLargestScale)) {
      throw types::invalid_roi(text(subject, ": the region's transform has the value ", scale,
                                    ", the limit is ", kLargestScale, ": ", text_of(t)));
    }
  }
  const Corners corners = corners_of(t, size);
  for (int i = 0; i < 4; ++i) {
    const double distance = std::max(std::abs(corners.x[i]), std::abs(corners.y[i]));
    if (distance > double(kFarthestCorner)) {
      throw types::invalid_roi(text(subject, ": the region's corner (", corners.x[i], ", ",
                                    corners.y[i], ") lies farther than ", kFarthestCorner,
                                    " px from the image's origin"));
    }
  }
}

}  // namespace

void check_image(const types::ImageView& image, const std::string& subject,
                 const ImageLimits& limits) {
  check_extent(image.layout, subject, limits);
  check_layout(image.layout, subject);
  if (image.pixels == nullptr) throw types::invalid_image(subject + ": the pixels are missing");
}

void check_image(const types::Image& image, const std::string& subject, const ImageLimits& limits) {
  check_image(types::ImageView(image), subject, limits);
  const std::uint64_t bytes = std::uint64_t{image.layout[2]} * image.layout[1];
  if (image.pixels.size() < bytes) {
    throw types::invalid_image(
        text(subject, ": the layout asks for ", bytes, " bytes, there are ", image.pixels.size()));
  }
}

Region whole_image(const types::ImageView& image) {
  Region region;
  region.width = static_cast<int>(image.layout[0]);
  region.height = static_cast<int>(image.layout[1]);
  return region;
}

Region resolve_region(const types::ImageView& image, const types::AffineTransform& transform,
                      const types::Size2<unsigned>& size, const std::string& subject,
                      const ImageLimits& limits) {
  const auto& t = transform;
  check_finite(t, subject);
  const bool identity = t.a == 1 && t.b == 0 && t.c == 0 && t.d == 0 && t.e == 1 && t.f == 0;
  if (identity && size.width == 0 && size.height == 0) return whole_image(image);
  check_region_extent(size, subject, limits);
  const double area = std::abs(double(t.a) * t.e - double(t.b) * t.d);
  if (area < kSmallestPixelArea) {
    throw types::invalid_roi(text(subject, ": the region's transform is singular: a pixel covers ",
                                  area, " image pixels, the smallest is ", kSmallestPixelArea, ": ",
                                  text_of(t)));
  }
  check_reach(t, size, subject);
  if (!overlaps(t, size, image.layout[0], image.layout[1])) {
    throw types::invalid_roi(text(subject, ": the region lies outside the image of ",
                                  image.layout[0], " x ", image.layout[1], " px: ", text_of(t)));
  }
  Region region;
  region.transform = transform;
  region.width = static_cast<int>(size.width);
  region.height = static_cast<int>(size.height);
  return region;
}

Region part_of(const Region& region, int x, int y, int width, int height) {
  Region part = region;
  types::AffineTransform& t = part.transform;
  t.c += t.a * x + t.b * y;
  t.f += t.d * x + t.e * y;
  part.width = width;
  part.height = height;
  return part;
}

bool has_colour(const types::ImageView& image) {
  return image.layout[3] >= 3;
}

}  // namespace telvar::core

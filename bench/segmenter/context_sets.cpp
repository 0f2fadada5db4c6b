#include "context_sets.h"

#include <opencv2/imgproc.hpp>

#include "shapes.h"
#include "textures.h"

namespace telvar::bench {
namespace {

LabelledImage draw_sheets(cv::RNG& random) {
  const cv::Size size(384, 288);
  cv::Mat values = uneven_ground(size, random.uniform(110.0, 160.0), random);
  const double contrast = random.uniform(25.0, 50.0);
  LabelledImage labelled;
  std::vector<Site> sites;
  const double radii[] = {random.uniform(110.0, 136.0), random.uniform(45.0, 60.0)};
  for (const double radius : radii) {
    if (!find_site(size, radius, 6, sites, random)) continue;
    const cv::RotatedRect box(cv::Point2f(sites.back().centre),
                              cv::Size2f(float(radius * random.uniform(1.4, 1.6)),
                                         float(radius * random.uniform(1.0, 1.2))),
                              float(random.uniform(0.0, 180.0)));
    cv::Point2f corners[4];
    box.points(corners);
    std::vector<cv::Point> outline(corners, corners + 4);
    cv::Mat mask = blank(size);
    fill(mask, outline, 255);
    cv::polylines(values, outline, true, cv::Scalar(128 - contrast), 2, cv::LINE_AA);
    add_mask(labelled, "sheet", mask);
  }
  for (int i = random.uniform(2, 5); i > 0; --i) {
    if (!find_site(size, random.uniform(24.0, 40.0), 2, sites, random)) continue;
    const double turn = random.uniform(0.0, 6.28), radius = sites.back().radius;
    const cv::Point2d along(std::cos(turn) * radius, std::sin(turn) * radius);
    const cv::Point2d across(-along.y, along.x);
    const cv::Point2d centre = sites.back().centre;
    std::vector<cv::Point> line{centre - along, centre + along};
    if (random.uniform(0, 2) == 0) line.emplace_back(centre + 0.3 * along + 0.9 * across);
    cv::polylines(values, line, false, cv::Scalar(128 - contrast), 2, cv::LINE_AA);
  }
  labelled.image = finished(values, 4.0, random);
  return labelled;
}

LabelledImage draw_sizes(cv::RNG& random) {
  const cv::Size size(384, 288);
  cv::Mat values = uneven_ground(size, 80.0, random);
  LabelledImage labelled;
  std::vector<Site> sites;
  const double radii[] = {random.uniform(58.0, 85.0), random.uniform(56.0, 70.0),
                          random.uniform(24.0, 38.0), random.uniform(24.0, 38.0),
                          random.uniform(24.0, 38.0)};
  for (const double radius : radii) {
    if (!find_site(size, radius, 5, sites, random)) continue;
    cv::Mat mask = blank(size);
    const cv::Point centre(cvRound(sites.back().centre.x), cvRound(sites.back().centre.y));
    cv::circle(mask, centre, cvRound(radius), cv::Scalar(255), -1);
    if (random.uniform(0, 3) == 0) {
      cv::circle(mask, centre, cvRound(radius - 14), cv::Scalar(0), -1);
    }
    values.setTo(150, mask);
    add_mask(labelled, radius > 50 ? "large" : "small", mask);
  }
  labelled.image = finished(values, 6.0, random);
  return labelled;
}

void draw_cross(cv::Mat& values, cv::Point2d at) {
  const cv::Point centre(cvRound(at.x), cvRound(at.y));
  cv::rectangle(values, {centre.x - 12, centre.y - 3, 25, 7}, cv::Scalar(220), -1);
  cv::rectangle(values, {centre.x - 3, centre.y - 12, 7, 25}, cv::Scalar(220), -1);
}

LabelledImage draw_neighbours(cv::RNG& random) {
  const cv::Size size(384, 288);
  cv::Mat values = uneven_ground(size, 90.0, random);
  const double gray = random.uniform(125.0, 165.0);
  std::vector<Site> sites;
  while (sites.size() < 3) {
    sites.clear();
    find_site(size, 16, 0, sites, random);
    if (!find_site(size, random.uniform(30.0, 44.0), 40, sites, random)) continue;
    if (!find_site(size, random.uniform(30.0, 44.0), 60, sites, random)) continue;
    // Neither may be about as near.
    const double first = cv::norm(sites[1].centre - sites[0].centre);
    const double other = cv::norm(sites[2].centre - sites[0].centre);
    if (other < 1.5 * first) sites.clear();
  }
  draw_cross(values, sites[0].centre);
  LabelledImage labelled;
  for (int i = 1; i < 3; ++i) {
    const auto outline = wavy_outline(sites[i].centre, sites[i].radius, sites[i].radius * 0.8,
                                      random.uniform(0.0, 3.1), 0.08, random);
    cv::Mat mask = blank(size);
    fill(mask, outline, 255);
    values.setTo(gray, mask);
    add_mask(labelled, i == 1 ? "near" : "far", mask);
  }
  labelled.image = finished(values, 6.0, random);
  return labelled;
}

LabelledImage draw_organs(cv::RNG& random) {
  const cv::Size size(320, 320);
  cv::Mat values = uneven_ground(size, 60.0, random);
  const cv::Point2d centre(160 + random.uniform(-18, 19), 160 + random.uniform(-14, 15));
  const double wide = random.uniform(85.0, 110.0), high = random.uniform(115.0, 135.0);
  const double turn = random.uniform(-0.12, 0.12);
  LabelledImage labelled;
  cv::Mat body = blank(size);
  fill(body, wavy_outline(centre, wide, high, turn, 0.02, random), 255);
  // The skin is bright, the inside hardly differs from the ground outside.
  cv::Mat inside;
  cv::erode(body, inside, cv::getStructuringElement(cv::MORPH_ELLIPSE, {9, 9}));
  values.setTo(150, body);
  uneven_ground(size, 66.0, random).copyTo(values, inside);
  add_mask(labelled, "body", body);
  for (const int half : {-1, 1}) {
    const cv::Point2d at(centre.x + random.uniform(-20.0, 20.0),
                         centre.y + half * high * random.uniform(0.36, 0.46));
    cv::Mat organ = blank(size);
    fill(organ,
         wavy_outline(at, random.uniform(30.0, 42.0), random.uniform(22.0, 30.0),
                      random.uniform(-0.5, 0.5), 0.06, random),
         255);
    values.setTo(105, organ);
    add_mask(labelled, half < 0 ? "upper" : "lower", organ);
  }
  for (int i = random.uniform(1, 4); i > 0; --i) {
    const cv::Point2d at(
        random.uniform(0, 2) == 0 ? random.uniform(8, 26) : random.uniform(294, 312),
        random.uniform(20, 300));
    cv::Mat other = blank(size);
    fill(other, wavy_outline(at, 24, 32, 0.0, 0.06, random), 255);
    other.setTo(0, body);
    values.setTo(105, other);
  }
  labelled.image = finished(values, 5.0, random);
  return labelled;
}

/// An outline of `gray` with texture, where nothing lies yet, and its mask.
void add_tissue(LabelledImage& labelled, const std::string& category, cv::Mat& values,
                cv::Mat& taken, const std::vector<cv::Point>& outline, double gray,
                cv::RNG& random) {
  cv::Mat mask = blank(values.size());
  fill(mask, outline, 255);
  mask.setTo(0, taken);
  cv::Mat tissue = gray + 5.0 * make_surface(Surface::grain, values.size(), 1.6, 0.0, random) +
                   6.0 * smooth_noise(values.size(), 14.0, random);
  tissue.copyTo(values, mask);
  taken |= mask;
  if (!category.empty()) add_mask(labelled, category, mask);
}

LabelledImage draw_slices(cv::RNG& random) {
  const cv::Size size(320, 288);
  cv::Mat values = 22.0 + 4.0 * smooth_noise(size, 30.0, random);
  const cv::Point2d centre(160 + random.uniform(-12, 13), 140 + random.uniform(-10, 11));
  const double wide = random.uniform(112.0, 130.0), high = random.uniform(98.0, 114.0);
  const double turn = random.uniform(-0.15, 0.15), gray = random.uniform(100.0, 130.0);
  // A place in the head: right and down in halves of its sides, turned with it.
  const auto place = [&](double right, double down) {
    const double x = right * wide, y = down * high;
    return centre + cv::Point2d(x * std::cos(turn) - y * std::sin(turn),
                                x * std::sin(turn) + y * std::cos(turn));
  };
  cv::Mat head = blank(size), skull, taken = blank(size);
  fill(head, wavy_outline(centre, wide, high, turn, 0.015, random), 255);
  cv::erode(head, skull, cv::getStructuringElement(cv::MORPH_ELLIPSE, {13, 13}));
  values.setTo(gray + 45, head);
  values.setTo(48, skull);
  LabelledImage labelled;
  // From the inside outwards; all but the hollow as gray as each other, within the noise.
  add_tissue(labelled, "", values, taken,
             wavy_outline(place(random.uniform(-0.1, 0.1), -0.2), wide * 0.2, high * 0.1,
                          turn + random.uniform(-0.3, 0.3), 0.1, random),
             55, random);
  add_tissue(labelled, "stem", values, taken,
             wavy_outline(place(random.uniform(0.0, 0.1), random.uniform(0.4, 0.5)), wide * 0.1,
                          high * 0.32, turn + random.uniform(-0.2, 0.2), 0.04, random),
             gray - 4, random);
  add_tissue(labelled, "cerebellum", values, taken,
             wavy_outline(place(random.uniform(0.4, 0.48), random.uniform(0.4, 0.48)), wide * 0.27,
                          high * 0.23, turn + random.uniform(-0.3, 0.3), 0.05, random),
             gray + random.uniform(-5.0, 6.0), random);
  add_tissue(labelled, "brain", values, taken,
             wavy_outline(place(0, random.uniform(-0.2, -0.14)), wide * random.uniform(0.76, 0.82),
                          high * random.uniform(0.54, 0.62), turn, 0.04, random),
             gray, random);
  // Tissue of no category, in the face and in the neck.
  for (const double right : {-0.5, 0.75}) {
    cv::Mat outside = skull.clone();
    outside.setTo(0, taken);
    cv::Mat rest = 255 - outside;
    add_tissue(labelled, "", values, rest,
               wavy_outline(place(right + random.uniform(-0.1, 0.1), random.uniform(0.45, 0.7)),
                            wide * random.uniform(0.18, 0.28), high * random.uniform(0.12, 0.2),
                            random.uniform(0.0, 3.1), 0.08, random),
               gray + random.uniform(-5.0, 6.0), random);
  }
  labelled.image = finished(values, 4.0, random);
  return labelled;
}

LabelledImage draw_cells(cv::RNG& random) {
  const cv::Size size(384, 288);
  cv::Mat values = uneven_ground(size, random.uniform(90.0, 150.0), random);
  LabelledImage labelled;
  std::vector<Site> sites;
  for (int i = 0; i < 3; ++i) {
    if (!find_site(size, random.uniform(60.0, 78.0), 4, sites, random)) continue;
    const Site& site = sites.back();
    const auto outline =
        wavy_outline(site.centre, site.radius * 0.95, site.radius * 0.85, 0.0, 0.03, random);
    cv::Mat mask = blank(size);
    fill(mask, outline, 255);
    cv::polylines(values, outline, true, cv::Scalar(70), 3, cv::LINE_AA);
    const bool full = random.uniform(0, 2) == 0;
    if (full) {
      const cv::Point at(cvRound(site.centre.x + random.uniform(-30.0, 30.0)),
                         cvRound(site.centre.y + random.uniform(-25.0, 25.0)));
      cv::circle(values, at, random.uniform(6, 10), cv::Scalar(60), -1, cv::LINE_AA);
    }
    add_mask(labelled, full ? "full" : "empty", mask);
  }
  // Such dots lie about everywhere.
  for (int i = random.uniform(1, 4); i > 0; --i) {
    std::vector<Site> others = sites;
    if (!find_site(size, 8, 6, others, random)) continue;
    const cv::Point at(cvRound(others.back().centre.x), cvRound(others.back().centre.y));
    cv::circle(values, at, random.uniform(6, 10), cv::Scalar(60), -1, cv::LINE_AA);
  }
  labelled.image = finished(values, 5.0, random);
  return labelled;
}

}  // namespace

ImageSet make_sheets(int train, int test, std::uint64_t seed) {
  return make_set("sheets", {"sheet"}, draw_sheets, train, test, seed);
}

ImageSet make_sizes(int train, int test, std::uint64_t seed) {
  return make_set("sizes", {"large", "small"}, draw_sizes, train, test, seed);
}

ImageSet make_neighbours(int train, int test, std::uint64_t seed) {
  return make_set("neighbours", {"near", "far"}, draw_neighbours, train, test, seed);
}

ImageSet make_organs(int train, int test, std::uint64_t seed) {
  return make_set("organs", {"body", "upper", "lower"}, draw_organs, train, test, seed);
}

ImageSet make_slices(int train, int test, std::uint64_t seed) {
  return make_set("slices", {"brain", "cerebellum", "stem"}, draw_slices, train, test, seed);
}

ImageSet make_cells(int train, int test, std::uint64_t seed) {
  return make_set("cells", {"full", "empty"}, draw_cells, train, test, seed);
}

}  // namespace telvar::bench

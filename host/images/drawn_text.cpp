#include "images/drawn_text.h"

#include <algorithm>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "app/text.h"

#ifdef TELVAR_PANGO
#include <pango/pangocairo.h>
#endif

namespace telvar_host {
namespace {

// Longer lines would not fit an image.
constexpr int kWidest = 8192;

cv::Mat drawn_in_ascii(const std::string& text) {
  constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
  constexpr double kScale = 0.5;
  std::string shown;
  for (const char32_t point : code_points(text)) {
    if (is_isolate(point)) continue;
    shown += point >= 32 && point < 127 ? static_cast<char>(point) : '?';
  }
  int below = 0;
  const auto size = cv::getTextSize(shown, kFont, kScale, 1, &below);
  cv::Mat drawn =
      cv::Mat::zeros(size.height + below + 4, std::clamp(size.width, 1, kWidest), CV_8U);
  cv::putText(drawn, shown, {0, size.height + 2}, kFont, kScale, cv::Scalar::all(255), 1,
              cv::LINE_AA);
  return drawn;
}

#ifdef TELVAR_PANGO

struct Release {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(PangoLayout* layout) const { g_object_unref(layout); }
  void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};
template <class Resource>
using Owned = std::unique_ptr<Resource, Release>;

bool has_fonts() {
  PangoFontFamily** families = nullptr;
  int count = 0;
  pango_font_map_list_families(pango_cairo_font_map_get_default(), &families, &count);
  g_free(families);
  return count > 0;
}

// What JSON and tables show as well: bytes that are no UTF-8 and control characters as U+FFFD.
std::string valid(const std::string& text) {
  const std::unique_ptr<char, decltype(&g_free)> made(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), &g_free);
  std::string shown;
  for (const char32_t point : code_points(made.get())) {
    shown += point < 32 ? std::string("\xEF\xBF\xBD") : utf8_of(point);
  }
  return shown;
}

Owned<PangoLayout> layout_of(cairo_t* context, const std::string& text,
                             const std::string& font_name) {
  Owned<PangoLayout> layout(pango_cairo_create_layout(context));
  const Owned<PangoFontDescription> font(
      pango_font_description_from_string(font_name.empty() ? "Sans 11" : font_name.c_str()));
  pango_layout_set_font_description(layout.get(), font.get());
  pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
  pango_layout_set_auto_dir(layout.get(), FALSE);  // lines begin at the left, whatever they name
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  return layout;
}

cv::Mat drawn_by_pango(const std::string& text, const std::string& font) {
  // Drawn once to be measured.
  const Owned<cairo_surface_t> nowhere(cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1));
  const Owned<cairo_t> measuring(cairo_create(nowhere.get()));
  int width = 0, height = 0;
  pango_layout_get_pixel_size(layout_of(measuring.get(), text, font).get(), &width, &height);
  width = std::clamp(width, 1, kWidest);
  height = std::clamp(height, 1, kWidest);
  const Owned<cairo_surface_t> surface(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height));
  const Owned<cairo_t> context(cairo_create(surface.get()));
  pango_cairo_show_layout(context.get(), layout_of(context.get(), text, font).get());
  cairo_surface_flush(surface.get());
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get()));
  return cv::Mat(height, width, CV_8U, cairo_image_surface_get_data(surface.get()), stride).clone();
}

#endif

}  // namespace

cv::Mat drawn_text(const std::string& text, [[maybe_unused]] const std::string& font) {
#ifdef TELVAR_PANGO
  static const bool kFonts = has_fonts();
  if (kFonts) return drawn_by_pango(valid(text), font);
#endif
  return drawn_in_ascii(text);
}

}  // namespace telvar_host

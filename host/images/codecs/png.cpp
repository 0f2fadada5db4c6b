#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <vector>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

// libpng leaves by longjmp on an error. It passes none but `guarded`, the step given to it and
// libpng itself: objects with destructors live outside.

struct Reason {
  char text[256] = "";
};

[[noreturn]] void keep_reason(png_structp png, png_const_charp message) {
  auto* const reason = static_cast<Reason*>(png_get_error_ptr(png));
  std::snprintf(reason->text, sizeof reason->text, "%s", message);
  png_longjmp(png, 1);
}

void ignore_warning(png_structp, png_const_charp) {}

template <typename Step>
bool guarded(png_structp png, const Step& step) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  step();
  return true;
}

bool is_little_endian() {
  const std::uint16_t one = 1;
  return *reinterpret_cast<const unsigned char*>(&one) == 1;
}

struct Input {
  const char* at;
  const char* end;
};

void read_bytes(png_structp png, png_bytep to, std::size_t count) {
  auto* const input = static_cast<Input*>(png_get_io_ptr(png));
  if (count > static_cast<std::size_t>(input->end - input->at)) png_error(png, "it is cut off");
  std::copy_n(input->at, count, to);
  input->at += count;
}

class Reader {
 public:
  explicit Reader(const std::string& bytes) : input_{bytes.data(), bytes.data() + bytes.size()} {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reason_, keep_reason, ignore_warning);
    info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    if (info_ == nullptr) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw std::bad_alloc();
    }
  }
  ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  cv::Mat decoded(const SizeLimit& limit) {
    step([this] { read_header(); });
    cv::Mat image = new_image(png_get_image_width(png_, info_), png_get_image_height(png_, info_),
                              type(), limit);
    std::vector<png_bytep> rows(static_cast<std::size_t>(image.rows));
    for (int y = 0; y < image.rows; ++y) rows[static_cast<std::size_t>(y)] = image.ptr(y);
    png_bytep* const row = rows.data();
    const std::size_t row_bytes = image.elemSize() * static_cast<std::size_t>(image.cols);
    step([this, row, row_bytes] { read_rows(row, row_bytes); });
    return image;
  }

 private:
  template <typename Step>
  void step(const Step& step) {
    if (!guarded(png_, step)) throw cannot_decode(reason_.text);
  }

  void read_header() {
    png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // ours come after
    png_set_read_fn(png_, &input_, read_bytes);
    png_read_info(png_, info_);
  }

  bool has_colour() const { return (png_get_color_type(png_, info_) & PNG_COLOR_MASK_COLOR) != 0; }

  bool has_transparent_colour() const {
    return has_colour() && png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
  }

  int type() const {
    const bool alpha = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0;
    const int channels = alpha || has_transparent_colour() ? 4 : has_colour() ? 3 : 1;
    return CV_MAKETYPE(png_get_bit_depth(png_, info_) == 16 ? CV_16U : CV_8U, channels);
  }

  // Nothing that changes values, such as gamma or background.
  void choose_layout() {
    const auto kind = png_get_color_type(png_, info_);
    if (kind == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png_);
    if (kind == PNG_COLOR_TYPE_GRAY) png_set_expand_gray_1_2_4_to_8(png_);
    if (kind == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(png_);
    if (has_transparent_colour()) png_set_tRNS_to_alpha(png_);
    if (has_colour()) png_set_bgr(png_);
    if (is_little_endian()) png_set_swap(png_);
  }

  void read_rows(png_bytep* rows, std::size_t row_bytes) {
    choose_layout();
    png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    if (png_get_rowbytes(png_, info_) != row_bytes) png_error(png_, "its rows are of another size");
    png_read_image(png_, rows);
    png_read_end(png_, nullptr);
  }

  Reason reason_;
  Input input_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

void append_bytes(png_structp png, png_bytep from, std::size_t count) {
  bool appended = true;
  try {
    static_cast<std::string*>(png_get_io_ptr(png))
        ->append(reinterpret_cast<const char*>(from), count);
  } catch (const std::exception&) {
    appended = false;
  }
  if (!appended) png_error(png, "no memory for it");
}

int colour_type(int channels) {
  return channels == 1   ? PNG_COLOR_TYPE_GRAY
         : channels == 3 ? PNG_COLOR_TYPE_RGB
                         : PNG_COLOR_TYPE_RGB_ALPHA;
}

class Writer {
 public:
  explicit Writer(const cv::Mat& image) : image_(image) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &reason_, keep_reason, ignore_warning);
    info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    if (info_ == nullptr) {
      png_destroy_write_struct(&png_, nullptr);
      throw std::bad_alloc();
    }
  }
  ~Writer() { png_destroy_write_struct(&png_, &info_); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  std::string encoded() {
    if (!guarded(png_, [this] { write(); })) {
      throw ImageError(std::string("cannot be encoded as PNG: ") + reason_.text);
    }
    return std::move(bytes_);
  }

 private:
  void write() {
    png_set_write_fn(png_, &bytes_, append_bytes, nullptr);
    // A third of the default's time, for files a few percent larger.
    png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_compression_level(png_, Z_BEST_SPEED);
    png_set_compression_strategy(png_, Z_RLE);
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(image_.cols),
                 static_cast<png_uint_32>(image_.rows), image_.depth() == CV_16U ? 16 : 8,
                 colour_type(image_.channels()), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png_, info_);
    png_set_bgr(png_);
    if (is_little_endian()) png_set_swap(png_);
    for (int y = 0; y < image_.rows; ++y) png_write_row(png_, image_.ptr(y));
    png_write_end(png_, nullptr);
  }

  Reason reason_;
  const cv::Mat& image_;
  std::string bytes_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

cv::Mat decode_png(const std::string& bytes, const SizeLimit& limit) {
  return Reader(bytes).decoded(limit);
}

std::string encode_png(const cv::Mat& image) {
  const int channels = image.channels();
  if ((image.depth() != CV_8U && image.depth() != CV_16U) || channels == 2 || channels > 4) {
    throw ImageError("cannot be encoded as PNG: its pixels are of another type");
  }
  return Writer(image).encoded();
}

}  // namespace telvar_host

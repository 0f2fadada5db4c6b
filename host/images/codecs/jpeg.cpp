// Before jpeglib.h, which needs FILE and size_t.
#include <cstdio>

#include <jpeglib.h>
#include <libexif/exif-data.h>

#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <memory>
#include <vector>

#include "images/codecs/decoders.h"

namespace telvar_host {
namespace {

// libjpeg leaves by longjmp on an error. It passes none but `guarded`, the step given to it and
// libjpeg itself: objects with destructors live outside.

struct Errors {
  jpeg_error_mgr manager{};  // first, so that libjpeg's pointer to it is one to this
  std::jmp_buf place;
  char reason[JMSG_LENGTH_MAX] = "";
};

[[noreturn]] void keep_reason(j_common_ptr jpeg) {
  auto* const errors = reinterpret_cast<Errors*>(jpeg->err);
  jpeg->err->format_message(jpeg, errors->reason);
  std::longjmp(errors->place, 1);
}

void ignore_message(j_common_ptr, int) {}

jpeg_error_mgr* set_up(Errors& errors) {
  jpeg_std_error(&errors.manager);
  errors.manager.error_exit = keep_reason;
  errors.manager.emit_message = ignore_message;
  return &errors.manager;
}

template <typename Step>
bool guarded(Errors& errors, const Step& step) {
  if (setjmp(errors.place) != 0) return false;
  step();
  return true;
}

// Where the first scan starts (ITU-T T.81, Annex B), or npos. The segments before it may hold a
// thumbnail, a whole JPEG of its own.
std::size_t first_scan(const std::string& bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  for (std::size_t at = 2; at + 4 <= bytes.size() && byte(at) == 0xFF;) {
    if (byte(at + 1) == 0xFF) {  // fill
      ++at;
      continue;
    }
    const std::size_t length = byte(at + 2) * 256U + byte(at + 3);
    if (length < 2) break;
    if (byte(at + 1) == 0xDA) return at + 2 + length;
    at += 2 + length;
  }
  return std::string::npos;
}

// The decoder fills what is missing with gray and says nothing, so look for the end marker, which
// entropy-coded data cannot hold. Some cameras append their own data after it.
bool is_cut_off(const std::string& bytes) {
  const auto scan = first_scan(bytes);
  return scan == std::string::npos || bytes.find("\xFF\xD9", scan) == std::string::npos;
}

// What the tag of the Exif data says, or 1.
int orientation_of(const unsigned char* bytes, unsigned size) {
  const std::unique_ptr<ExifData, decltype(&exif_data_unref)> exif(exif_data_new(),
                                                                   &exif_data_unref);
  if (!exif) throw std::bad_alloc();
  exif_data_load_data(exif.get(), bytes, size);
  const ExifEntry* const entry =
      exif_content_get_entry(exif->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
  if (entry == nullptr || entry->format != EXIF_FORMAT_SHORT || entry->size < 2) return 1;
  return exif_get_short(entry->data, exif_data_get_byte_order(exif.get()));
}

// Adobe's way, which is that of all programs that write such files: the more, the less ink.
void bgr_of_cmyk(const unsigned char* cmyk, unsigned char* bgr, unsigned width) {
  for (unsigned x = 0; x < width; ++x, cmyk += 4, bgr += 3) {
    const int black = cmyk[3];
    for (int i = 0; i < 3; ++i) {
      bgr[2 - i] = static_cast<unsigned char>(black - ((255 - cmyk[i]) * black >> 8));
    }
  }
}

class Reader {
 public:
  explicit Reader(const std::string& bytes) : bytes_(bytes) { jpeg_.err = set_up(errors_); }
  ~Reader() { jpeg_destroy_decompress(&jpeg_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  cv::Mat decoded(const SizeLimit& limit) {
    step([this] { read_header(); });
    cv::Mat image = new_image(jpeg_.image_width, jpeg_.image_height,
                              jpeg_.num_components == 1 ? CV_8UC1 : CV_8UC3, limit);
    if (jpeg_.num_components == 4) line_.resize(std::size_t{4} * jpeg_.image_width);
    step([this, &image] { read_rows(image); });
    return upright(image, orientation());
  }

 private:
  template <typename Step>
  void step(const Step& step) {
    if (!guarded(errors_, step)) throw cannot_decode(errors_.reason);
  }

  void read_header() {
    jpeg_create_decompress(&jpeg_);
    jpeg_mem_src(&jpeg_, reinterpret_cast<const unsigned char*>(bytes_.data()),
                 static_cast<unsigned long>(bytes_.size()));
    jpeg_save_markers(&jpeg_, JPEG_APP0 + 1, 0xFFFF);
    jpeg_read_header(&jpeg_, TRUE);
  }

  void read_rows(cv::Mat& image) {
    const bool cmyk = jpeg_.num_components == 4;
    jpeg_.out_color_space = cmyk                        ? JCS_CMYK
                            : jpeg_.num_components == 1 ? JCS_GRAYSCALE
                                                        : JCS_EXT_BGR;
    jpeg_start_decompress(&jpeg_);
    for (int y = 0; y < image.rows; ++y) {
      unsigned char* row = cmyk ? line_.data() : image.ptr(y);
      jpeg_read_scanlines(&jpeg_, &row, 1);
      if (cmyk) bgr_of_cmyk(row, image.ptr(y), jpeg_.image_width);
    }
  }

  int orientation() const {
    constexpr char kExif[] = "Exif\0";  // and a 0 more
    for (auto* marker = jpeg_.marker_list; marker != nullptr; marker = marker->next) {
      if (marker->data_length > sizeof kExif && std::equal(kExif, kExif + 6, marker->data))
        return orientation_of(marker->data, marker->data_length);
    }
    return 1;
  }

  Errors errors_;
  jpeg_decompress_struct jpeg_{};
  const std::string& bytes_;
  std::vector<unsigned char> line_;
};

class Writer {
 public:
  explicit Writer(const cv::Mat& image) : image_(image) { jpeg_.err = set_up(errors_); }
  ~Writer() {
    jpeg_destroy_compress(&jpeg_);
    std::free(bytes_);  // NOLINT(cppcoreguidelines-no-malloc): libjpeg allocated it
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  std::string encoded(int quality) {
    if (!guarded(errors_, [this, quality] { write(quality); })) {
      throw ImageError(std::string("cannot be encoded as JPEG: ") + errors_.reason);
    }
    return std::string(reinterpret_cast<const char*>(bytes_), size_);
  }

 private:
  void write(int quality) {
    jpeg_create_compress(&jpeg_);
    jpeg_mem_dest(&jpeg_, &bytes_, &size_);
    jpeg_.image_width = static_cast<JDIMENSION>(image_.cols);
    jpeg_.image_height = static_cast<JDIMENSION>(image_.rows);
    jpeg_.input_components = image_.channels();
    jpeg_.in_color_space = image_.channels() == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&jpeg_);
    jpeg_set_quality(&jpeg_, quality, TRUE);
    jpeg_start_compress(&jpeg_, TRUE);
    for (int y = 0; y < image_.rows; ++y) {
      auto* row = const_cast<unsigned char*>(image_.ptr(y));
      jpeg_write_scanlines(&jpeg_, &row, 1);
    }
    jpeg_finish_compress(&jpeg_);
  }

  Errors errors_;
  jpeg_compress_struct jpeg_{};
  const cv::Mat& image_;
  unsigned char* bytes_ = nullptr;
  unsigned long size_ = 0;
};

}  // namespace

cv::Mat decode_jpeg(const std::string& bytes, const SizeLimit& limit) {
  if (is_cut_off(bytes)) throw ImageError("JPEG is cut off");
  return Reader(bytes).decoded(limit);
}

std::string encode_jpeg(const cv::Mat& image, int quality) {
  if (image.type() != CV_8UC1 && image.type() != CV_8UC3) {
    throw ImageError("cannot be encoded as JPEG: its pixels are of another type");
  }
  return Writer(image).encoded(quality);
}

}  // namespace telvar_host

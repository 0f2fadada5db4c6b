#include "images.h"

#include <limits>
#include <utility>
#include <vector>

#include "field.h"
#include "text.h"

namespace py = pybind11;
namespace types = Orbalt::TelvarWrapper::Types;

namespace telvar_python {
namespace {

// The extents of an array as the library's layout counts them.
struct Extents {
  py::ssize_t height, width, channels, bytes;  // bytes of one channel of one pixel
  py::ssize_t row() const { return width * channels * bytes; }
};

py::ssize_t bytes_of_channel(const py::array& array, const std::string& name, Use use) {
  const py::dtype type = array.dtype();
  const bool is_native = type.byteorder() == '=' || type.byteorder() == '|';
  if (type.kind() == 'u' && is_native && type.itemsize() <= 2) return type.itemsize();
  if (type.kind() == 'b' && use == Use::kMask) return 1;
  throw py::type_error(name + " has the type " + std::string(py::repr(type)) +
                       "; uint8 or uint16 " + (use == Use::kMask ? "or bool " : "") +
                       "is needed, in native byte order");
}

Extents extents_of(const py::array& array, const std::string& name, Use use) {
  const auto bytes = bytes_of_channel(array, name, use);
  const auto dimensions = array.ndim();
  const py::ssize_t channels = dimensions == 3 ? array.shape(2) : 1;
  if ((dimensions != 2 && dimensions != 3) || (channels != 1 && channels != 3 && channels != 4)) {
    throw py::value_error(name + " has the shape " + std::string(py::str(array.attr("shape"))) +
                          "; (height, width) or (height, width, 1, 3 or 4 channels) is needed");
  }
  constexpr py::ssize_t kHighest = std::numeric_limits<std::uint32_t>::max();
  if (array.shape(0) > kHighest || array.shape(1) > kHighest / (channels * bytes)) {
    throw py::value_error(name + " is too large: " + std::string(py::str(array.attr("shape"))));
  }
  return {array.shape(0), array.shape(1), channels, bytes};
}

// Bytes from row to row. The stride of an axis with one element means nothing.
py::ssize_t row_stride(const py::array& array, const Extents& e, const std::string& name) {
  const py::ssize_t row = e.height > 1 ? array.strides(0) : e.row();
  const bool is_packed = (e.width < 2 || array.strides(1) == e.channels * e.bytes) &&
                         (e.channels < 2 || array.strides(2) == e.bytes);
  const bool is_aligned = (reinterpret_cast<std::uintptr_t>(array.data()) | row) % e.bytes == 0;
  if (!is_packed || !is_aligned || row < e.row() || row > py::ssize_t{0xFFFFFFFF}) {
    throw py::value_error(name + " has the strides " + std::string(py::str(array.attr("strides"))) +
                          ": its pixels do not lie side by side in rows from top to bottom. Pass "
                          "numpy.ascontiguousarray(...) of it");
  }
  return row;
}

// The end of the memory that certainly belongs to the array or to what it is a view of.
const unsigned char* end_of_memory(py::array array) {
  for (py::object base = array.base(); base && py::isinstance<py::array>(base);) {
    array = py::reinterpret_borrow<py::array>(base);
    base = array.base() ? py::reinterpret_borrow<py::object>(array.base()) : py::object();
  }
  py::ssize_t reach = array.itemsize();
  for (py::ssize_t axis = 0; axis < array.ndim(); ++axis) {
    if (array.strides(axis) > 0) reach += (array.shape(axis) - 1) * array.strides(axis);
  }
  return static_cast<const unsigned char*>(array.data()) + reach;
}

std::uint32_t channel_order(const py::object& asked, py::ssize_t channels,
                            const std::string& name) {
  static const std::pair<const char*, py::ssize_t> kOrders[] = {
      {"gray", 1}, {"BGR", 3}, {"RGB", 3}, {"BGRA", 4}, {"RGBA", 4}};
  if (asked.is_none()) return channels == 1 ? 0 : channels == 3 ? 2 : 4;
  const std::string text = Field(asked, name + ".channel_order").text();
  for (std::uint32_t order = 0; order < 5; ++order) {
    if (text == kOrders[order].first && channels == kOrders[order].second) return order;
  }
  throw py::value_error(name + ": the channel order '" + text + "' does not fit " +
                        std::to_string(channels) + " channels (gray, RGB, BGR, RGBA, BGRA)");
}

// The image, and the array that owns its pixels.
struct ArrayImage {
  py::object array;
  types::Image image;
};

std::shared_ptr<types::Image> keep(py::object array, const types::Image& image) {
  const auto release = [](ArrayImage* kept) {
    py::gil_scoped_acquire gil;
    delete kept;
  };
  const std::shared_ptr<ArrayImage> kept(new ArrayImage{std::move(array), image}, release);
  return {kept, &kept->image};
}

std::shared_ptr<types::Image> compact_copy(const unsigned char* pixels, py::ssize_t stride,
                                           const Extents& e, types::ImageLayout layout) {
  std::vector<unsigned char> bytes;
  bytes.reserve(static_cast<std::size_t>(e.height * e.row()));
  for (py::ssize_t y = 0; y < e.height; ++y) {
    bytes.insert(bytes.end(), pixels + y * stride, pixels + y * stride + e.row());
  }
  layout[2] = static_cast<std::uint32_t>(e.row());
  return types::MakeImage(layout, std::move(bytes));
}

bool is_image_record(const py::object& source) {
  return py::isinstance(source, py::module_::import("telvar").attr("Image"));
}

}  // namespace

std::shared_ptr<types::Image> image_of(const py::object& source, const std::string& name, Use use) {
  const bool is_record = is_image_record(source);
  const py::object pixels = is_record ? py::object(source.attr("pixels")) : source;
  if (!py::isinstance<py::array>(pixels)) {
    Field(pixels, name).must_be("a numpy array or a telvar.Image");
  }
  const auto array = py::reinterpret_borrow<py::array>(pixels);
  const Extents e = extents_of(array, name, use);
  const auto asked = is_record ? py::object(source.attr("channel_order")) : py::none();
  const auto order = channel_order(asked, e.channels, name);
  types::ImageLayout layout{
      static_cast<std::uint32_t>(e.width),     static_cast<std::uint32_t>(e.height),
      static_cast<std::uint32_t>(e.row()),     static_cast<std::uint32_t>(e.channels),
      static_cast<std::uint32_t>(8 * e.bytes), order};
  if (array.size() == 0) return std::make_shared<types::Image>(layout, nullptr);
  const auto* first = static_cast<const unsigned char*>(array.data());
  const py::ssize_t stride = row_stride(array, e, name);
  // The library may read whole rows, and the last row of a cut-out can end beyond the memory.
  if (end_of_memory(array) - first < e.height * stride) {
    return compact_copy(first, stride, e, layout);
  }
  layout[2] = static_cast<std::uint32_t>(stride);
  return keep(array, types::Image(layout, first));
}

types::ImageLoader loader_of(const py::object& callable, const char* parameter, Use use) {
  if (PyCallable_Check(callable.ptr()) == 0) Field(callable, parameter).must_be("callable");
  // A handle: the library copies the loader without the GIL, where no reference may be counted.
  return [loader = py::handle(callable), use](const std::string& identifier) {
    py::gil_scoped_acquire gil;
    const py::str text = text_of(identifier);
    const py::object image = loader(text);
    if (image.is_none()) return std::shared_ptr<types::Image>();
    const char* kind = use == Use::kMask ? "mask " : "image ";
    return image_of(image, kind + std::string(py::repr(text)), use);
  };
}

types::ImageLoader monitored(types::ImageLoader loader, const py::object& progress,
                             unsigned threads) {
  const bool told = !progress.is_none();
  if (told && PyCallable_Check(progress.ptr()) == 0) {
    Field(progress, "progress").must_be("callable");
  }
  const auto number = [](float value) -> py::object {
    return value < 0 ? py::object(py::none()) : py::float_(value);
  };
  // A handle, as above.
  const auto report = [=, take = py::handle(progress)](const types::Progress& state) {
    py::gil_scoped_acquire gil;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();  // Ctrl-C cancels
    if (!told) return true;
    return !take(number(state.fraction), number(state.score)).is(py::bool_(false));
  };
  return types::MonitoredLoader(std::move(loader), report, threads);
}

py::array array_of(const std::shared_ptr<types::ResultImage>& image) {
  if (!image) return py::array_t<std::uint8_t>(std::vector<py::ssize_t>{0, 0});
  const auto [width, height, stride, channels, bits, order] = image->layout;
  const py::ssize_t bytes = bits / 8;
  std::vector<py::ssize_t> shape{height, width};
  std::vector<py::ssize_t> strides{stride, channels * bytes};
  if (channels > 1) {
    shape.push_back(channels);
    strides.push_back(bytes);
  }
  const auto type = bits == 16 ? py::dtype::of<std::uint16_t>() : py::dtype::of<std::uint8_t>();
  using Kept = std::shared_ptr<types::ResultImage>;
  const py::capsule owner(new Kept(image), [](void* kept) { delete static_cast<Kept*>(kept); });
  return py::array(type, shape, strides, image->pixels.data(), owner);
}

}  // namespace telvar_python

#include "nn/swept_inference.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "nn/passes.h"
#include "nn/shapes.h"

namespace telvar::nn {
namespace {

/// Rows of the input that are computed at once. Fewer mean more calls of the kernels, more are
/// wasted below an image's last row.
constexpr int kBlockRows = 12;
/// Widths are rounded up to multiples of this.
constexpr int kWidthStep = 16;
/// Kernels are kept for so many widths.
constexpr std::size_t kKeptWidths = 12;

int round_up(int value, int step) {
  return (value + step - 1) / step * step;
}

}  // namespace

/// Everything that is ready to run for images of one rounded width.
struct SweptInference::Wide {
  /// The rows of one layer that are kept.
  struct Lines {
    std::size_t offset = 0;  // in the memory of a call
    int capacity = 0;        // rows
    int width = 0;
    std::size_t place_bytes = 0;  // of all channels of one place
    std::size_t row_bytes() const { return width * place_bytes; }
  };
  explicit Wide(Sweep blocks) : sweep(std::move(blocks)) {}

  Sweep sweep;
  std::vector<Lines> lines;
  std::vector<PackedConvolution> convolutions;  // of each layer; empty where it is none
  std::size_t line_bytes = 0;
  std::size_t scratch_bytes = 0;
};

/// One image on its way through the network.
class SweptInference::Run {
 public:
  Run(const FoldedNetwork& network, const Wide& wide, const Buffer& memory, const float* input,
      const InputSize& size)
      : network_(network),
        passes_(passes_over(network.number())),
        sweep_(wide.sweep),
        wide_(wide),
        memory_(memory),
        input_(input),
        shapes_(shapes_of(network.network(), size)),
        progress_(wide.sweep) {
    for (Node i = 0; i <= network.answer(); ++i) {
      first_kept_.push_back(progress_.first_needed(i));
      std::memset(row(i, first_kept_[i]), 0, -first_kept_[i] * wide.lines[i].row_bytes());
    }
  }

  Answer operator()() {
    const Node last = network_.answer();
    Answer answer{shapes_[last], std::vector<float>(shapes_[last].count())};
    while (progress_.done(last) < shapes_[last].height) {
      for (Node i = 0; i <= last; ++i) {
        if (progress_.ready(i)) run_block(i, answer);
      }
    }
    return answer;
  }

 private:
  std::byte* row(Node node, int y) const {
    const Wide::Lines& lines = wide_.lines[node];
    return memory_.data() + lines.offset + (y - first_kept_[node]) * lines.row_bytes();
  }

  void run_block(Node node, Answer& answer) {
    make_room(node);
    const int y = progress_.done(node), block = sweep_.block(node);
    const int rows = std::clamp(shapes_[node].height - y, 0, block);
    if (rows > 0) compute(node, y, rows);
    if (node == network_.answer()) {
      store(y, rows, answer);
    } else {
      clear_beyond(node, y, rows);
    }
    progress_.advance(node);
  }

  /// Forgets what is not read any more, where the next block does not fit behind what is kept.
  void make_room(Node node) {
    const Wide::Lines& lines = wide_.lines[node];
    const int done = progress_.done(node);
    if (done + sweep_.block(node) <= first_kept_[node] + lines.capacity) return;
    const int needed = progress_.first_needed(node);
    std::memmove(row(node, first_kept_[node]), row(node, needed),
                 (done - needed) * lines.row_bytes());
    first_kept_[node] = needed;
  }

  void compute(Node node, int y, int rows) {
    const Layer& layer = network_.layers()[node];
    if (layer.kind == LayerKind::kInput) {
      take_input(y, rows);
    } else if (layer.kind == LayerKind::kJoin) {
      const JoinExtent extent{1, sweep_.block(node), wide_.lines[node].width,
                              shapes_[layer.from].channels, shapes_[layer.beside].channels};
      passes_.join(row(layer.from, y), row(layer.beside, y / 2), extent, row(node, y));
    } else {
      const PackedConvolution& convolution = wide_.convolutions[node];
      const int above = geometry_of(layer, shapes_[layer.from]).pad_before();
      convolution.kernel->forward(row(layer.from, y * layer.stride - above),
                                  convolution.weights.data(), network_.bias(node),
                                  layer.beside == kNone ? nullptr : row(layer.beside, y),
                                  row(node, y), memory_.data() + wide_.line_bytes);
    }
  }

  void take_input(int y, int rows) {
    const std::size_t count = static_cast<std::size_t>(shapes_[0].width) * shapes_[0].channels;
    for (int i = y; i < y + rows; ++i) passes_.from_floats(input_ + i * count, count, row(0, i));
  }

  /// Zeros where the image has ended, as if the layers that read on had padded it.
  void clear_beyond(Node node, int y, int rows) {
    const Wide::Lines& lines = wide_.lines[node];
    const std::size_t used = shapes_[node].width * lines.place_bytes;
    for (int i = y; i < y + rows; ++i) {
      std::memset(row(node, i) + used, 0, lines.row_bytes() - used);
    }
    const int end = std::min(y + sweep_.block(node), shapes_[node].height + sweep_.below(node));
    for (int i = y + rows; i < end; ++i) std::memset(row(node, i), 0, lines.row_bytes());
  }

  void store(int y, int rows, Answer& answer) const {
    const Node last = network_.answer();
    const std::size_t count =
        static_cast<std::size_t>(shapes_[last].width) * shapes_[last].channels;
    for (int i = y; i < y + rows; ++i) {
      std::memcpy(answer.values.data() + i * count, row(last, i), count * sizeof(float));
    }
  }

  const FoldedNetwork& network_;
  const Passes& passes_;
  const Sweep& sweep_;
  const Wide& wide_;
  const Buffer& memory_;
  const float* input_;
  std::vector<TensorShape> shapes_;
  Sweep::Progress progress_;
  std::vector<int> first_kept_;  // of each layer: the row where its lines begin
};

SweptInference::SweptInference(const FoldedNetwork& network)
    : network_(network), widths_(kKeptWidths) {}

bool SweptInference::can_run(const FoldedNetwork& network) {
  const auto first = network.layers().begin();
  return std::none_of(first, first + network.answer() + 1,
                      [](const Layer& layer) { return layer.kind == LayerKind::kMean; });
}

Answer SweptInference::operator()(const float* input, const InputSize& size) {
  const auto wide =
      widths_.get(round_up(size.width, kWidthStep), [&](int width) { return prepare(width); });
  Buffer memory = spare_.take(wide->line_bytes + wide->scratch_bytes);
  Answer answer = Run(network_, *wide, memory, input, size)();
  spare_.give(std::move(memory));
  return answer;
}

SweptInference::Wide SweptInference::prepare(int width) const {
  Wide made(Sweep(network_.layers(), network_.answer(), kBlockRows));
  const Sweep& sweep = made.sweep;
  const auto shapes =
      shapes_of(network_.network(), {1, sweep.block(0), round_up(width, sweep.largest_stride())});
  made.convolutions.resize(network_.answer() + 1);
  for (Node i = 0; i <= network_.answer(); ++i) {
    const Number number = i == network_.answer() ? Number::kFloat : network_.number();
    // So many that no row is moved to the front more than about once.
    const int capacity = 2 * sweep.kept(i) - sweep.block(i);
    const Wide::Lines lines{made.line_bytes, capacity, shapes[i].width,
                            shapes[i].channels * size_of(number)};
    made.line_bytes += aligned(lines.capacity * lines.row_bytes());
    made.lines.push_back(lines);
    if (!network_.has_weights(i)) continue;
    const Layer& layer = network_.layers()[i];
    ConvolutionGeometry geometry = geometry_of(layer, shapes[layer.from]);
    geometry.height = (sweep.block(i) - 1) * geometry.stride + geometry.reach() + 1;
    geometry.pad_rows = false;
    made.convolutions[i] = network_.make_convolution(i, geometry);
    made.scratch_bytes = std::max(made.scratch_bytes, made.convolutions[i].kernel->scratch_bytes());
  }
  return made;
}

}  // namespace telvar::nn

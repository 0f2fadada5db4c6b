#include "ocr/reading.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <utility>

#include "core/sampling.h"
#include "ocr/contrast.h"
#include "ocr/targets.h"
#include "ocr/white_level.h"
#include "telvar/exceptions.h"

namespace telvar::ocr {
namespace {

/// Pieces are at most this many reading pixels a side; larger ones gain little and take memory.
constexpr int kPieceSide = 1024;
static_assert(kPieceSide % kCellStride == 0 && kReaderReach % kCellStride == 0 &&
              kContrastReach % kCellStride == 0);

/// An interval [begin, end) of reading pixels that a piece answers for.
struct Interval {
  int begin, end;
};

std::vector<Interval> split(int length) {
  const int pieces = (length + kPieceSide - 1) / kPieceSide;
  const int side = ((length + pieces - 1) / pieces + kCellStride - 1) / kCellStride * kCellStride;
  std::vector<Interval> result;
  for (int begin = 0; begin < length; begin += side) {
    result.push_back({begin, std::min(begin + side, length)});
  }
  return result;
}

/// `interval` widened by `reach`, within 0..length.
Interval widen(const Interval& interval, int reach, int length) {
  return {std::max(0, interval.begin - reach), std::min(length, interval.end + reach)};
}

struct Piece {
  Interval columns, rows;
};

std::vector<Piece> pieces_of(const GraySource& source) {
  std::vector<Piece> pieces;
  for (const Interval& rows : split(source.height)) {
    for (const Interval& columns : split(source.width)) pieces.push_back({columns, rows});
  }
  return pieces;
}

int round_up(int value) {
  return (value + kCellStride - 1) / kCellStride * kCellStride;
}

/// The contrast-normalised pixels of a window as a network input, edge pixels repeated up to whole
/// cells.
torch::Tensor input_of(const GraySource& source, const Interval& columns, const Interval& rows) {
  const Interval x = widen(columns, kContrastReach, source.width);
  const Interval y = widen(rows, kContrastReach, source.height);
  core::Raster gray = source.window(x.begin, y.begin, x.end - x.begin, y.end - y.begin);
  normalise_contrast(gray);
  const int width = columns.end - columns.begin, height = rows.end - rows.begin;
  torch::Tensor input = torch::empty({1, 1, round_up(height), round_up(width)});
  float* out = input.data_ptr<float>();
  for (int row = 0; row < round_up(height); ++row) {
    const float* from =
        &gray.at(0, std::min(row, height - 1) + rows.begin - y.begin, columns.begin - x.begin);
    out = std::copy(from, from + width, out);
    out = std::fill_n(out, round_up(width) - width, from[width - 1]);
  }
  return input;
}

/// Cells are trained to point to centres within half a character.
constexpr float kFarthestVote = 1.0f;

/// One cell's vote, from the answer's planes; none where it points nowhere or its scores are no
/// numbers, as extreme weights may make them.
std::optional<CellVote> vote_of(const torch::TensorAccessor<float, 3>& answer, int row, int column,
                                float objectness, int left, int top) {
  const auto points_near = [&](int plane) {
    return std::fabs(answer[plane][row][column]) <= kFarthestVote;
  };
  if (!points_near(1) || !points_near(2)) return std::nullopt;
  CellVote vote;
  vote.objectness = objectness;
  vote.x =
      static_cast<float>(left) + cell_centre(column) + answer[1][row][column] * kReadingCharacter;
  vote.y = static_cast<float>(top) + cell_centre(row) + answer[2][row][column] * kReadingCharacter;
  const int categories = static_cast<int>(answer.size(0)) - 3;
  float highest = answer[3][row][column];
  for (int k = 1; k < categories; ++k) highest = std::max(highest, answer[3 + k][row][column]);
  float sum = 0;
  vote.scores.resize(static_cast<std::size_t>(categories));
  for (int k = 0; k < categories; ++k) {
    sum += vote.scores[static_cast<std::size_t>(k)] =
        std::exp(answer[3 + k][row][column] - highest);
  }
  if (!(sum >= 1)) return std::nullopt;  // the highest category alone adds 1
  for (float& score : vote.scores) score /= sum;
  return vote;
}

void read_piece(const core::FusedConvolutions& net, const GraySource& source, const Piece& piece,
                std::vector<CellVote>& votes) {
  const torch::InferenceMode inference;
  const Interval columns = widen(piece.columns, kReaderReach, source.width);
  const Interval rows = widen(piece.rows, kReaderReach, source.height);
  const torch::Tensor answer = net(input_of(source, columns, rows))[0];
  const auto cells = answer.accessor<float, 3>();
  const float threshold = std::log(kVoteThreshold / (1 - kVoteThreshold));
  const int first_row = (piece.rows.begin - rows.begin) / kCellStride;
  const int first_column = (piece.columns.begin - columns.begin) / kCellStride;
  const int last_row = (round_up(piece.rows.end) - rows.begin) / kCellStride;
  const int last_column = (round_up(piece.columns.end) - columns.begin) / kCellStride;
  for (int row = first_row; row < last_row; ++row) {
    for (int column = first_column; column < last_column; ++column) {
      const float logit = cells[0][row][column];
      if (!(logit > threshold)) continue;
      auto vote =
          vote_of(cells, row, column, 1 / (1 + std::exp(-logit)), columns.begin, rows.begin);
      if (vote) votes.push_back(std::move(*vote));
    }
  }
}

/// A window of a region: reading pixel (x, y) to image pixels.
core::Region window_of(const core::Region& region, double scale_x, double scale_y, int left,
                       int top, int width, int height) {
  const auto& t = region.transform;
  const double x = (left + 0.5) / scale_x - 0.5, y = (top + 0.5) / scale_y - 0.5;
  core::Region window;
  window.width = width;
  window.height = height;
  window.transform = {
      static_cast<float>(t.a / scale_x),           static_cast<float>(t.b / scale_y),
      static_cast<float>(t.a * x + t.b * y + t.c), static_cast<float>(t.d / scale_x),
      static_cast<float>(t.e / scale_y),           static_cast<float>(t.d * x + t.e * y + t.f)};
  return window;
}

}  // namespace

GraySource source_of(const types::ImageView& image, const core::Region& region,
                     const NominalSize& size, const std::string& subject) {
  const ReadingScale scale = reading_scale(size);
  const double width = std::max(1.0, std::round(region.width * scale.x));
  const double height = std::max(1.0, std::round(region.height * scale.y));
  if (width * height > static_cast<double>(kMaxReadingPixels)) {
    throw types::invalid_image_size(
        subject + ": the region holds more than " +
        std::to_string(kMaxReadingPixels / (kReadingCharacter * kReadingCharacter)) +
        " characters of the nominal size");
  }
  const double scale_x = width / region.width, scale_y = height / region.height;
  return {static_cast<int>(width), static_cast<int>(height),
          [&image, region, scale_x, scale_y, white = white_level(image)](int left, int top, int w,
                                                                         int h) {
            core::Raster gray = core::sample(
                image, window_of(region, scale_x, scale_y, left, top, w, h), core::Colour::kGray);
            for (float& value : gray.values) value /= white;
            return gray;
          }};
}

GraySource source_of(const PreparedSample& sample) {
  constexpr float kRatio = static_cast<float>(kPreparedCharacter) / kReadingCharacter;
  const int width = std::max(1, static_cast<int>(std::lround(sample.width / kRatio)));
  const int height = std::max(1, static_cast<int>(std::lround(sample.height / kRatio)));
  const types::ImageLayout layout{static_cast<unsigned>(sample.width),
                                  static_cast<unsigned>(sample.height),
                                  static_cast<unsigned>(sample.width),
                                  1,
                                  8,
                                  0};
  types::ImageView view(layout[0], layout[1], layout[2], layout[3], layout[4], layout[5],
                        sample.pixels.data());
  const core::Region whole = core::whole_image(view);
  const double scale_x = static_cast<double>(width) / sample.width;
  const double scale_y = static_cast<double>(height) / sample.height;
  return {width, height, [view, whole, scale_x, scale_y](int left, int top, int w, int h) {
            return core::sample(view, window_of(whole, scale_x, scale_y, left, top, w, h),
                                core::Colour::kGray);
          }};
}

ReadingNet::ReadingNet(const ReaderNetImpl& net, Precision precision)
    : categories_(net.categories()),
      net_(net.fused(), precision == Precision::kBest && core::computes_bfloat16()
                            ? torch::kBFloat16
                            : torch::kFloat) {}

std::vector<CellVote> ReadingNet::votes(const GraySource& source, core::WorkerPool& pool) const {
  const std::vector<Piece> pieces = pieces_of(source);
  std::vector<std::vector<CellVote>> found(pieces.size());
  std::atomic<std::uint64_t> scores{0};
  pool.run(static_cast<int>(pieces.size()), [&](int i) {
    const auto index = static_cast<std::size_t>(i);
    read_piece(net_, source, pieces[index], found[index]);
    scores += found[index].size() * static_cast<std::uint64_t>(categories_);
    if (scores > kMaxVoteScores) {
      throw types::invalid_image_size("the region holds more characters than can be read with " +
                                      std::to_string(categories_) + " categories at once");
    }
  });
  std::vector<CellVote> votes;
  for (auto& part : found) {
    std::move(part.begin(), part.end(), std::back_inserter(votes));
  }
  return votes;
}

}  // namespace telvar::ocr

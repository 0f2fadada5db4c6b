#include "ocr/experts/inference.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <utility>

#include "core/sampling.h"
#include "ocr/limits.h"
#include "ocr/network/loss.h"
#include "ocr/network/network.h"
#include "ocr/samples/contrast.h"
#include "ocr/samples/preparation.h"
#include "telvar/exceptions.h"

namespace telvar::ocr {
namespace {

/// Pieces are at most this many reading pixels a side; larger ones gain little and take memory.
constexpr int kPieceSide = 1024;
static_assert(kPieceSide % kCellStride == 0 && kReceptiveRadius % kCellStride == 0 &&
              kContrastReach % kCellStride == 0);

/// About so many cells vote for a character.
constexpr std::uint64_t kVotesOfCharacter = 16;

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

/// A network input: gray, row by row.
struct Input {
  nn::InputSize size;
  std::vector<float> pixels;
};

/// The contrast-normalised pixels of a window, edge pixels repeated up to whole cells.
Input input_of(const GraySource& source, const Interval& columns, const Interval& rows) {
  const Interval x = widen(columns, kContrastReach, source.width);
  const Interval y = widen(rows, kContrastReach, source.height);
  core::Raster gray = source.window(x.begin, y.begin, x.end - x.begin, y.end - y.begin);
  normalise_contrast(gray);
  const int width = columns.end - columns.begin, height = rows.end - rows.begin;
  Input input{{1, round_up(height), round_up(width)}, {}};
  input.pixels.resize(static_cast<std::size_t>(input.size.height) * input.size.width);
  auto out = input.pixels.begin();
  for (int row = 0; row < input.size.height; ++row) {
    const float* from =
        &gray.at(0, std::min(row, height - 1) + rows.begin - y.begin, columns.begin - x.begin);
    out = std::copy(from, from + width, out);
    out = std::fill_n(out, input.size.width - width, from[width - 1]);
  }
  return input;
}

/// Cells are trained to point to centres within half a character.
constexpr float kFarthestVote = 1.0f;

/// The vote of one cell whose centre lies at (x, y), from its answer; none where it points nowhere
/// or its scores are no numbers, as extreme weights may make them.
std::optional<CellVote> vote_of(const float* answer, int categories, float x, float y) {
  if (!(std::fabs(answer[kOffsetX]) <= kFarthestVote) ||
      !(std::fabs(answer[kOffsetY]) <= kFarthestVote)) {
    return std::nullopt;
  }
  CellVote vote;
  vote.objectness = 1 / (1 + std::exp(-answer[kObjectness]));
  vote.x = x + answer[kOffsetX] * kReadingCharacter;
  vote.y = y + answer[kOffsetY] * kReadingCharacter;
  const float* const logits = answer + kFirstCategory;
  const float highest = *std::max_element(logits, logits + categories);
  float sum = 0;
  vote.scores.resize(static_cast<std::size_t>(categories));
  for (int k = 0; k < categories; ++k) {
    sum += vote.scores[static_cast<std::size_t>(k)] = std::exp(logits[k] - highest);
  }
  if (!(sum >= 1)) return std::nullopt;  // the highest category alone adds 1
  for (float& score : vote.scores) score /= sum;
  return vote;
}

void read_piece(const nn::Inference& net, int categories, const GraySource& source,
                const Piece& piece, std::vector<CellVote>& votes) {
  const Interval columns = widen(piece.columns, kReceptiveRadius, source.width);
  const Interval rows = widen(piece.rows, kReceptiveRadius, source.height);
  const Input input = input_of(source, columns, rows);
  const nn::Answer answer = net(input.pixels.data(), input.size);
  const float threshold = std::log(kVoteThreshold / (1 - kVoteThreshold));
  const int first_row = (piece.rows.begin - rows.begin) / kCellStride;
  const int first_column = (piece.columns.begin - columns.begin) / kCellStride;
  const int last_row = (round_up(piece.rows.end) - rows.begin) / kCellStride;
  const int last_column = (round_up(piece.columns.end) - columns.begin) / kCellStride;
  for (int row = first_row; row < last_row; ++row) {
    for (int column = first_column; column < last_column; ++column) {
      const float* const cell = answer.at(0, row, column);
      if (!(cell[kObjectness] > threshold)) continue;
      auto vote = vote_of(cell, categories, static_cast<float>(columns.begin) + cell_centre(column),
                          static_cast<float>(rows.begin) + cell_centre(row));
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
        std::to_string(kMaxReadingPixels / kReadingCharacter / kReadingCharacter) +
        " characters of the nominal size");
  }
  const double scale_x = width / region.width, scale_y = height / region.height;
  return {subject, static_cast<int>(width), static_cast<int>(height),
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
  return {sample.name, width, height,
          [view, whole, scale_x, scale_y](int left, int top, int w, int h) {
            return core::sample(view, window_of(whole, scale_x, scale_y, left, top, w, h),
                                core::Colour::kGray);
          }};
}

NetworkInference::NetworkInference(const nn::Network& net, Precision precision)
    : categories_(categories_of(net)),
      net_(net, precision == Precision::kBest ? nn::default_kernels().fastest_number()
                                              : nn::Number::kFloat) {}

std::vector<CellVote> NetworkInference::votes(const GraySource& source,
                                              core::WorkerPool& pool) const {
  const std::vector<Piece> pieces = pieces_of(source);
  std::vector<std::vector<CellVote>> found(pieces.size());
  std::atomic<std::uint64_t> scores{0};
  pool.run(static_cast<int>(pieces.size()), [&](int i) {
    const auto index = static_cast<std::size_t>(i);
    read_piece(net_, categories_, source, pieces[index], found[index]);
    scores += found[index].size() * static_cast<std::uint64_t>(categories_);
    if (scores > kMaxVoteScores) {
      throw types::invalid_image_size(
          source.subject + ": the region holds more characters than can be read with " +
          std::to_string(categories_) + " categories at once, which is about " +
          std::to_string(kMaxVoteScores / kVotesOfCharacter / static_cast<unsigned>(categories_)));
    }
  });
  std::vector<CellVote> votes;
  for (auto& part : found) {
    std::move(part.begin(), part.end(), std::back_inserter(votes));
  }
  return votes;
}

}  // namespace telvar::ocr

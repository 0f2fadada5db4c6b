#include "segmenter/rotation.h"

#include <algorithm>
#include <bitset>
#include <cstdint>

#include "segmenter/held_out.h"

namespace telvar::segmenter {
namespace {

/// A category is judged by so many samples that show it, as far as so many further networks can
/// bring them.
constexpr int kEnoughJudged = 3;
constexpr std::size_t kMostRotations = 2;

/// A network that only judges gets so many rounds at most, and falls behind the delivered one by
/// little.
constexpr int kMostRounds = 3;

/// The categories that too few samples judge so far, a bit for each.
std::uint64_t wanted_of(const std::vector<int>& judged) {
  std::uint64_t wanted = 0;
  for (std::size_t c = 0; c < judged.size(); ++c) {
    if (judged[c] < kEnoughJudged) wanted |= std::uint64_t{1} << c;
  }
  return wanted;
}

/// The sample, neither held out nor taken, that shows most of the categories wanted; the number of
/// samples, if none shows any.
std::size_t most_wanted(const std::vector<PreparedSample>& samples, const std::vector<bool>& held,
                        const std::vector<std::size_t>& taken, std::uint64_t wanted) {
  std::size_t best = samples.size(), most = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (held[i] || std::find(taken.begin(), taken.end(), i) != taken.end()) continue;
    const std::size_t shown = std::bitset<64>(categories_in(samples[i]) & wanted).count();
    if (shown > most) {
      best = i;
      most = shown;
    }
  }
  return best;
}

}  // namespace

Rotation choose_rotation(const std::vector<PreparedSample>& samples, const std::vector<bool>& held,
                         int categories) {
  const std::vector<int> occurrences = count_occurrences(samples, categories);
  std::vector<int> judged(categories);
  Rotation rotation;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::uint64_t present = categories_in(samples[i]);
    for (int c = 0; c < categories; ++c) judged[c] += held[i] && (present >> c & 1);
  }
  std::uint64_t rare = 0;
  for (int c = 0; c < categories; ++c) {
    const bool seldom = 3 * static_cast<std::size_t>(occurrences[c]) < samples.size();
    if (!seldom || occurrences[c] < 2 || judged[c] >= kEnoughJudged) continue;
    rare |= std::uint64_t{1} << c;
    rotation.categories.push_back(c);
  }
  while (rotation.samples.size() < kMostRotations) {
    const auto next = most_wanted(samples, held, rotation.samples, rare & wanted_of(judged));
    if (next == samples.size()) break;
    rotation.samples.push_back(next);
    const std::uint64_t present = categories_in(samples[next]);
    for (int c = 0; c < categories; ++c) judged[c] += present >> c & 1;
  }
  for (const int c : rotation.categories) rotation.judged.push_back(judged[c]);
  return rotation;
}

int rotation_steps(const Rotation& rotation, const Effort& effort, int rounds) {
  const int each = std::min(rounds, kMostRounds) * effort.round_steps + effort.settling_steps;
  return static_cast<int>(rotation.samples.size()) * each;
}

void judge_by_rotation(const TrainingTask& task, const Rotation& rotation, const nn::Network& start,
                       const Networks& delivered, int rounds, std::vector<Overlap>& overlaps) {
  Networks networks = delivered;
  const bool has_planes = start.input_channels() == delivered.fine.input_channels();
  const nn::Network first = has_planes ? start : with_context_planes(start, task.set);
  for (const std::size_t left_out : rotation.samples) {
    const Tiles taught = task.set.without_sample(left_out);
    networks.fine = first;
    for (int round = 0; round < std::min(rounds, kMostRounds); ++round) {
      teach_round(task, round, taught, networks);
    }
    settle(task, taught, networks);
    const std::vector<Overlap> found = measure(task, task.set.of_sample(left_out), networks);
    for (const int c : rotation.categories) add(found[c], overlaps[c]);
  }
  for (std::size_t i = 0; i < rotation.categories.size(); ++i) {
    Overlap& overlap = overlaps[rotation.categories[i]];
    overlap = doubted(overlap, rotation.judged[i]);
  }
}

Overlap doubted(Overlap overlap, int judged) {
  const std::uint64_t half = overlap.united / (2 * static_cast<std::uint64_t>(std::max(judged, 1)));
  overlap.united += half;
  overlap.intersection += half / 2;
  return overlap;
}

}  // namespace telvar::segmenter

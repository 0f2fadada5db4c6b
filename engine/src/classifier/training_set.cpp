#include "classifier/training_set.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <tuple>

#include "classifier/limits.h"
#include "core/bytes.h"
#include "core/categories.h"
#include "core/random.h"
#include "telvar/exceptions.h"

namespace telvar::classifier {
namespace {

// Networks of a small set: a quarter of it is held out of each.
constexpr int kFolds = 4;
// One sample in so many of a large set is held out: some 300 at least, enough to calibrate by.
constexpr int kOneInHeldOut = 20;
constexpr int kNoFold = -1;

std::uint64_t digest(const Sample& sample) {
  return core::checksum({reinterpret_cast<const char*>(sample.data()), sample.size()});
}

core::Categories joined_categories(const std::vector<DatasetEntry>& entries,
                                   const ExemplarMemory* before) {
  std::set<std::string> listed;
  for (const DatasetEntry& entry : entries) listed.insert(entry.category_id);
  const core::Categories none;
  return core::join_categories(before != nullptr ? before->categories : none,
                               {listed.begin(), listed.end()}, kMaxCategories);
}

void check_labels(const std::vector<std::string>& categories, const std::vector<int>& labels) {
  using types::insufficient_number_of_samples;
  if (categories.size() < kMinCategories) {
    throw insufficient_number_of_samples(std::to_string(categories.size()) +
                                         " categories with samples, the minimum is " +
                                         std::to_string(kMinCategories));
  }
  if (labels.size() < kMinSamples) {
    throw insufficient_number_of_samples(std::to_string(labels.size()) +
                                         " samples, the minimum is " + std::to_string(kMinSamples));
  }
  std::vector<int> counts(categories.size());
  for (const int label : labels) ++counts[label];
  for (std::size_t c = 0; c < counts.size(); ++c) {
    if (counts[c] >= kMinSamplesPerCategory) continue;
    throw insufficient_number_of_samples("category '" + categories[c] + "' has " +
                                         std::to_string(counts[c]) + " sample(s), the minimum is " +
                                         std::to_string(kMinSamplesPerCategory));
  }
}

int keep_limit(std::size_t categories) {
  return std::max(kMinKeptPerCategory, kMaxKept / static_cast<int>(categories));
}

/// Indices of each category's samples, by digest: an order that does not depend on keys.
std::vector<std::vector<int>> by_category(const TrainingSet& set,
                                          const std::vector<std::uint64_t>& digests) {
  std::vector<std::vector<int>> members(set.categories.size());
  for (std::size_t i = 0; i < set.labels.size(); ++i) {
    members[set.labels[i]].push_back(static_cast<int>(i));
  }
  for (auto& list : members) {
    std::sort(list.begin(), list.end(),
              [&](int a, int b) { return std::tie(digests[a], a) < std::tie(digests[b], b); });
  }
  return members;
}

/// A category of which everything is kept is dealt out evenly, and the folds are remembered; of a
/// larger one the digest decides, so that a sample never changes its fold. Equal samples take
/// turns: all in one fold would leave its network nothing to learn from, or none to be judged by.
void assign_folds(TrainingSet& set, const std::vector<std::vector<int>>& members,
                  const std::vector<std::uint64_t>& digests, int nets) {
  const std::size_t limit = keep_limit(set.categories.size());
  for (std::size_t c = 0; c < members.size(); ++c) {
    std::vector<int> sizes(nets);
    for (const int i : members[c]) {
      if (set.folds[i] != kNoFold && set.folds[i] < nets) ++sizes[set.folds[i]];
    }
    std::uint64_t turn = 0;
    for (std::size_t k = 0; k < members[c].size(); ++k) {
      int& fold = set.folds[members[c][k]];
      const std::uint64_t digest = digests[members[c][k]];
      turn = k > 0 && digest == digests[members[c][k - 1]] ? turn + 1 : digest;
      if (fold != kNoFold) continue;
      if (nets == 1) {
        fold = turn % kOneInHeldOut == 0 ? 0 : 1;
      } else if (members[c].size() > limit) {
        fold = static_cast<int>(turn % nets);
      } else {
        // Equal counts are broken from another place for each category.
        int best = static_cast<int>(c % nets);
        for (int f = 0; f < nets; ++f) {
          const int other = static_cast<int>((c + f) % nets);
          if (sizes[other] < sizes[best]) best = other;
        }
        fold = best;
        ++sizes[best];
      }
    }
  }
}

/// By digest, which is as good as drawn at random, and gives the same samples in the next training;
/// one of each category in turn, so that any first ones are balanced.
void choose_exemplars(TrainingSet& set, const std::vector<std::vector<int>>& members) {
  const auto limit = static_cast<std::size_t>(keep_limit(set.categories.size()));
  for (std::size_t k = 0; k < limit; ++k) {
    for (const auto& list : members) {
      if (k < list.size()) set.exemplars.push_back(list[k]);
    }
  }
}

}  // namespace

int nets_for(std::size_t samples) {
  return samples > kLargeSet ? 1 : kFolds;
}

void check_counts(const std::vector<DatasetEntry>& entries, const ExemplarMemory* before) {
  if (entries.empty()) {
    throw types::insufficient_number_of_samples("0 samples in the data set, the minimum is 1");
  }
  const std::vector<std::string> categories = joined_categories(entries, before);
  std::vector<int> labels;
  labels.reserve(entries.size());
  for (const auto& entry : entries) labels.push_back(core::index_of(entry.category_id, categories));
  if (before != nullptr) {
    for (const Exemplar& exemplar : before->exemplars) {
      labels.push_back(core::index_of(before->categories[exemplar.category], categories));
    }
  }
  check_labels(categories, labels);
}

TrainingSet join_samples(const std::vector<DatasetEntry>& entries, std::vector<Sample> samples,
                         const ExemplarMemory* before, int nets) {
  TrainingSet set;
  set.categories = joined_categories(entries, before);
  set.samples = std::move(samples);
  set.from_dataset = set.samples.size();
  set.folds.assign(set.samples.size(), kNoFold);
  std::vector<std::uint64_t> digests;
  std::map<std::uint64_t, std::deque<int>> present;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    set.labels.push_back(core::index_of(entries[i].category_id, set.categories));
    digests.push_back(digest(set.samples[i]));
    present[digests[i]].push_back(static_cast<int>(i));
  }
  if (before != nullptr) {
    set.old_places = core::places_among(before->categories, set.categories);
    for (const Exemplar& exemplar : before->exemplars) {
      const std::uint64_t sum = digest(exemplar.pixels);
      const auto same = present.find(sum);
      if (same != present.end()) {
        std::deque<int>& unclaimed = same->second;
        if (unclaimed.empty()) continue;
        set.folds[unclaimed.front()] = exemplar.fold;
        unclaimed.pop_front();
        continue;
      }
      set.samples.push_back(exemplar.pixels);
      set.labels.push_back(set.old_places[exemplar.category]);
      set.folds.push_back(exemplar.fold);
      digests.push_back(sum);
    }
  }
  check_labels(set.categories, set.labels);
  const auto members = by_category(set, digests);
  assign_folds(set, members, digests, nets);
  choose_exemplars(set, members);
  return set;
}

}  // namespace telvar::classifier

#pragma once

// Placed samples with labels and folds: the data set's, then those kept from before.

#include <cstdint>
#include <string>
#include <vector>

#include "classifier/dataset.h"
#include "classifier/exemplars.h"

namespace telvar::classifier {

struct TrainingSet {
  std::vector<Sample> samples;
  std::vector<int> labels;
  std::vector<int> folds;
  std::size_t from_dataset = 0;         // the first ones, in the data set's order
  std::vector<std::string> categories;  // ascending
  std::vector<int> old_places;          // new index of every category of the former training
  std::vector<int> exemplars;           // indices of the samples that the artifact will keep
};

/// What can be said before any image is loaded: an empty data set, too many categories, too few
/// samples even if none were among those that `before` (may be null) has kept.
/// Throws insufficient_number_of_samples, invalid_dataset.
void check_counts(const std::vector<DatasetEntry>& entries, const ExemplarMemory* before);

/// Joins a data set that passed `check_counts` with what `before` (may be null) has kept; a sample
/// that is in both counts once, with the data set's label and the fold that it had. `nets`: how
/// many folds are held out. Throws insufficient_number_of_samples, invalid_dataset.
TrainingSet join_samples(const std::vector<DatasetEntry>& entries, std::vector<Sample> samples,
                         const ExemplarMemory* before, int nets);

/// How many networks share a training from nothing on so many samples.
int nets_for(std::size_t samples);

}  // namespace telvar::classifier

// What a state file says about itself, in its description.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/json.h"
#include "files/state_file.h"

namespace telvar_host {

struct TrainingRecord {
  std::string time;     // when it ended, UTC, ISO 8601
  std::string program;  // version of this program
  std::size_t images = 0;
  std::map<std::string, std::size_t> counts;  // images (ocr: characters) by category
  double score = 0;  // what the tool reported; less than 0: nothing was held out
  double seconds = 0;
};

// As the description and `telvar inspect` show a training.
Json json_of(const TrainingRecord& training);

struct StateAbout {
  // Sorted; nothing where an earlier training said nothing about itself.
  std::optional<std::vector<std::string>> categories;
  std::vector<TrainingRecord> trainings;  // oldest first
};

// The description of a state. One that has none knows its categories only if it was never trained.
// Throws data_error naming the place for a description of another form.
StateAbout about_of(const StateFile& state, const std::string& name);

std::string serialised(const StateAbout& about);

// Adds a training to what was known before; the last 100 are kept.
void add_training(StateAbout& about, TrainingRecord training);

// The time now, as TrainingRecord has it.
std::string utc_now();

}  // namespace telvar_host

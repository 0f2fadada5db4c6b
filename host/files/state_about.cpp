#include "files/state_about.h"

#include <algorithm>
#include <ctime>
#include <set>

#include "app/errors.h"

namespace telvar_host {
namespace {

TrainingRecord training_of(const Json& json) {
  TrainingRecord training;
  training.time = json.value("time", "");
  training.program = json.value("program", "");
  training.images = json.value("images", std::size_t{0});
  training.counts = json.value("counts", training.counts);
  training.score = json.value("score", 0.0);
  training.seconds = json.value("seconds", 0.0);
  return training;
}

}  // namespace

Json json_of(const TrainingRecord& training) {
  return {{"time", training.time},     {"program", training.program},
          {"images", training.images}, {"counts", training.counts},
          {"score", training.score},   {"seconds", training.seconds}};
}

StateAbout about_of(const StateFile& state, const std::string& name) {
  StateAbout about;
  if (state.about.empty()) {
    if (state.artifact.empty()) about.categories.emplace();
    return about;
  }
  try {
    const auto json = Json::parse(state.about);
    if (json.contains("categories")) {
      about.categories = json["categories"].get<std::vector<std::string>>();
    }
    for (const auto& training : json.at("trainings")) {
      about.trainings.push_back(training_of(training));
    }
  } catch (const Json::exception&) {
    throw data_error(name + ": damaged state file: the description is not of its form");
  }
  return about;
}

std::string serialised(const StateAbout& about) {
  Json json = Json::object();
  if (about.categories) json["categories"] = *about.categories;
  json["trainings"] = Json::array();
  for (const auto& training : about.trainings) json["trainings"].push_back(json_of(training));
  return dumped(json, -1);
}

void add_training(StateAbout& about, TrainingRecord training) {
  constexpr std::size_t kMostTrainings = 100;
  if (about.categories) {
    std::set<std::string> all(about.categories->begin(), about.categories->end());
    for (const auto& count : training.counts) all.insert(count.first);
    about.categories.emplace(all.begin(), all.end());
  }
  about.trainings.push_back(std::move(training));
  if (about.trainings.size() > kMostTrainings) about.trainings.erase(about.trainings.begin());
}

std::string utc_now() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
#ifdef _WIN32
  gmtime_s(&parts, &now);
#else
  gmtime_r(&now, &parts);
#endif
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

}  // namespace telvar_host

// How well a trained classifier does on labelled images.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "app/json.h"
#include "datasets/classifier_data.h"
#include "library/session.h"
#include "metrics/timing.h"
#include "tools/classifier_tool.h"

namespace telvar_host {

struct ClassifierMistake {
  ClassifierItem item;
  std::string answer;
  double score = 0;  // of the answer
};

struct ClassifierEvaluation {
  std::size_t images = 0;
  std::size_t right = 0;
  std::map<std::string, std::map<std::string, std::size_t>> confusion;  // [truth][answer]
  std::vector<ClassifierMistake> mistakes;       // the surest wrong answer first
  std::vector<std::pair<double, bool>> answers;  // score of each answer, and whether it was right
  // Scores of the answers to images of categories that the tool does not know. They are wrong, too.
  std::vector<double> foreign_scores;
  Timing timing;

  double accuracy() const { return images == 0 ? 0 : static_cast<double>(right) / images; }
  // Accuracy over the surest part of the answers: (share answered, accuracy) for every share.
  std::vector<std::pair<double, double>> accuracy_by_coverage() const;
  // What a least score lets through: (share of the right answers, share of the foreign images), the
  // highest score first. Empty without either.
  std::vector<std::pair<double, double>> foreign_curve() const;
};

// Reads every image; throws data_error for one that cannot be read.
ClassifierEvaluation evaluate(ClassifierTool& tool, const ClassifierData& data, Progress& progress);

// accuracy, confusion, counts, foreign_curve (where there are foreign images),
// milliseconds_median, milliseconds_p95, mistakes.
Json json_of(const ClassifierEvaluation& evaluation);

}  // namespace telvar_host

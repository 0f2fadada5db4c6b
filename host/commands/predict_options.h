// The options of the commands that use a trained state: process, batch, merge.
#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <string>

#include "commands/fielding_options.h"
#include "files/state_file.h"
#include "predictions/labels.h"
#include "predictions/predictor.h"

namespace telvar_host {

struct PredictOptions {
  std::string state;
  std::string roi;
  std::string size;
  FieldingOptions fielding;
};

// --state, --roi, --size, --allow, --count, --patterns.
void add_predict_options(CLI::App& app, PredictOptions& options);

// Throws usage_error for options that mean nothing to the state's tool, and where the reader has no
// size.
PredictorSettings predictor_settings(const PredictOptions& options, const StateFile& state);

struct LabelOptions {
  std::string format;
  std::optional<double> below;
};

// --write-labels and --below; the former needs `out`.
void add_label_options(CLI::App& app, LabelOptions& options, CLI::Option* out);

// Throws usage_error for a format that does not exist for the tool.
void require_label_format(const LabelOptions& options, ToolKind tool);

struct LabelsWritten {
  Json json = Json::object();  // for the outcome: "doubtful", "labels"
  std::string text;
};

// What --write-labels and --below ask for: labels in labels/ of `out`, the doubtful images named.
LabelsWritten write_asked_labels(const std::vector<PredictedImage>& images,
                                 const LabelOptions& options, LabelSettings settings,
                                 const std::function<std::string(const std::string&)>& read_mask,
                                 OutputFolder* out);

}  // namespace telvar_host

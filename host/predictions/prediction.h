// What a tool says of one image, as every command writes it.
#pragma once

#include <string>

#include "app/json.h"
#include "tools/classifier_tool.h"
#include "tools/reader_tool.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {

// Only the tool's own of the three results is filled.
struct Prediction {
  ToolKind tool = ToolKind::kClassifier;
  Scores scores;
  Probabilities maps;
  Reading reading;
};

// 0..1, how sure the tool is of what it is least sure of in the image, for choosing what a person
// looks at first: the classifier's best score; the reader's lowest character, 0 when it read
// nothing; of the segmenter's categories the least decided, where decided is the mean of |2p - 1|
// over the pixels of probability p = 0.25 and more, and 1 without such pixels.
double certainty_of(const Prediction& prediction);

// The keys are in docs/host.md, "What is predicted".
Json json_of(const Prediction& prediction);

// The same for people: indented lines.
std::string text_of(const Json& prediction);

}  // namespace telvar_host

#pragma once

// The sample that fielding answers with: matched characters only, re-decided within their classes.

#include "text/fielding_alignment.h"
#include "text/recognised_sample.h"

namespace telvar::text {

/// The fielded sample of an alignment: the characters in the recognised order, each with the scores
/// of its class's categories alone, summing to 1, best first; the lines as given, those without a
/// character left out; mean and lowest best score as the sample's values.
/// `unlined`: matched characters that stand in no line.
telvar_msg::qv::ocr::SampleResult fielded_sample(const RecognisedSample& sample,
                                                 const MatchedLines& lines,
                                                 const std::vector<Match>& unlined = {});

}  // namespace telvar::text

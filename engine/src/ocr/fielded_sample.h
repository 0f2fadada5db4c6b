#pragma once

// The sample that fielding answers with: matched characters only, re-decided within their classes.

#include "ocr/fielding_alignment.h"
#include "ocr/read_sample.h"

namespace telvar::ocr {

/// The fielded sample of an alignment: the characters in the read order, each with the scores of
/// its class's categories alone, summing to 1, best first; the lines as given, those without a
/// character left out; mean and lowest best score as the sample's values.
/// `unlined`: matched characters that stand in no line.
telvar_msg::qv::ocr::SampleResult fielded_sample(const ReadSample& sample,
                                                 const MatchedLines& lines,
                                                 const std::vector<Match>& unlined = {});

}  // namespace telvar::ocr

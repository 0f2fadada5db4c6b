// Evaluating any of the three tools on a data set on disk: the one path behind `evaluate` and
// `demo`.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "app/json.h"
#include "app/tool_kind.h"
#include "files/state_file.h"
#include "library/session.h"
#include "report/html.h"
#include "tools/reader_tool.h"

namespace telvar_host {

struct EvaluationRun {
  Json json;         // metrics at the top level
  std::string text;  // the same for people
  Section section;   // of a report; left empty without one
};

// `size` and `fielding` are for the reader. Without a size, that of the state is taken, then that
// of the labels.
EvaluationRun run_evaluation(Session& session, const StateFile& state,
                             const std::filesystem::path& data,
                             const std::optional<NominalSize>& size, bool with_report,
                             const Fielding& fielding = {});

}  // namespace telvar_host

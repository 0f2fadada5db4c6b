// The commands of the program: each adds itself to the command line, and sets `command` when
// chosen.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <string>

#include "app/errors.h"
#include "app/json.h"
#include "app/tool_kind.h"
#include "files/state_file.h"
#include "library/session.h"

namespace telvar_host {

// What a command has to say: `json` with --json, `text` without.
struct Outcome {
  Json json = Json::object();
  std::string text;
  ExitCode code = ExitCode::kOk;
  bool silent = false;  // what there was to say is printed already
};

using Command = std::function<Outcome(Session&)>;

void add_commands(CLI::App& app, Command& command);

void add_check(CLI::App& app, Command& command);
void add_train(CLI::App& app, Command& command);
void add_process(CLI::App& app, Command& command);
void add_batch(CLI::App& app, Command& command);
void add_merge(CLI::App& app, Command& command);
void add_evaluate(CLI::App& app, Command& command);
void add_inspect(CLI::App& app, Command& command);
void add_sort(CLI::App& app, Command& command);
void add_convert(CLI::App& app, Command& command);
void add_label(CLI::App& app, Command& command);
void add_demo(CLI::App& app, Command& command);

// Required option --tool ocr|classifier|segmenter.
CLI::Option* add_tool_option(CLI::App& app, std::string& name);
ToolKind tool_named(const std::string& name);

// A usage error naming the option --from when the state is another tool's.
void require_tool(const StateFile& state, ToolKind tool, const std::string& from);

// A usage error when `option` was given to a tool it means nothing to.
void refuse_option(bool given, const std::string& option, ToolKind tool);

}  // namespace telvar_host

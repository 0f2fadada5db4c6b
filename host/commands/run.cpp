#include "commands/run.h"

#include <TelvarTypes/Exceptions.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <new>
#include <opencv2/core.hpp>
#include <opencv2/core/utils/logger.hpp>

#include "app/errors.h"
#include "app/interrupt.h"
#include "app/terminal.h"
#include "commands/commands.h"
#include "commands/usage_errors.h"
#include "library/session.h"

namespace telvar_host {
namespace {

namespace Wrapper = Orbalt::TelvarWrapper;

constexpr const char* kFooter =
    "Exit codes: 0 done; 1 the operation failed; 2 wrong usage; 3 a data set, image, region or "
    "state file was refused; 4 the TelvarWrappers library cannot be loaded; 130 interrupted "
    "(128 + signal).\n"
    "telvar COMMAND --help shows a command's options and an example.";

const char* kind_name(int code) {
  switch (static_cast<ExitCode>(code)) {
    case ExitCode::kOk:
      return "none";
    case ExitCode::kFailed:
      return "failed";
    case ExitCode::kUsage:
      return "usage";
    case ExitCode::kBadData:
      return "bad_data";
    case ExitCode::kNoLibrary:
      return "no_library";
    case ExitCode::kInterrupted:
      break;
  }
  return "interrupted";
}

void report_error(bool json, int code, const std::string& message) {
  if (json) {
    const Json error = {{"code", code}, {"kind", kind_name(code)}, {"message", message}};
    print_whole(stdout, dumped(Json{{"error", error}}) + "\n");
  } else {
    print_whole(stderr, "telvar: " + message + "\n");
  }
}

int fail(bool json, ExitCode code, const std::string& message) {
  std::lock_guard<std::mutex> lock(output_mutex());
  report_error(json, static_cast<int>(code), message);
  set_reported(static_cast<int>(code));
  return static_cast<int>(code);
}

// Which exit code a library exception stands for: is it the input's fault?
ExitCode code_of(const Wrapper::TelvarException& error) {
  return dynamic_cast<const Wrapper::InvalidOperationException*>(&error) ? ExitCode::kFailed
                                                                         : ExitCode::kBadData;
}

int show(const Outcome& outcome, bool json) {
  {
    std::lock_guard<std::mutex> lock(output_mutex());
    if (outcome.silent || print_whole(stdout, json ? dumped(outcome.json) + "\n" : outcome.text)) {
      set_reported(static_cast<int>(outcome.code));
      return static_cast<int>(outcome.code);
    }
  }
  return fail(false, ExitCode::kFailed, "cannot write to standard output");
}

// An empty value is what an unset shell variable leaves, never what was meant.
void refuse_empty_values(CLI::App& app) {
  const auto given = [](const std::string& value) {
    return value.empty() ? std::string("must not be empty") : std::string();
  };
  for (auto* option : app.get_options()) {
    if (option->get_items_expected_max() > 0) option->check(CLI::Validator(given, ""));
  }
}

// CLI11 would take the argument after "--option=" for its value.
void refuse_empty_value(const std::string& argument) {
  const auto equals = argument.find('=');
  if (argument.compare(0, 2, "--") == 0 && equals == argument.size() - 1) {
    throw CLI::ValidationError(argument.substr(0, equals), "must not be empty");
  }
}

int guarded(const Command& command, const GlobalOptions& options) {
  // Declared first: exceptions and results must go before the library they came from.
  Session session(options);
  const auto failed = [&](ExitCode code, const std::string& message) {
    session.progress.finish();
    return fail(options.json, code, message);
  };
  try {
    return show(command(session), options.json);
  } catch (const HostError& error) {
    return failed(error.code(), error.what());
  } catch (const Wrapper::TelvarException& error) {
    return failed(code_of(error), error.what());
  } catch (const std::bad_alloc&) {
    return failed(ExitCode::kFailed, "out of memory");
  } catch (const std::exception& error) {
    return failed(ExitCode::kFailed, error.what());
  }
}

// Commands that load no library have no use for one.
void refuse_useless_library(const CLI::App& app, const GlobalOptions& options) {
  if (options.library.empty()) return;
  for (const char* name : {"check", "inspect", "convert", "merge"}) {
    if (!app.got_subcommand(name)) continue;
    throw CLI::ValidationError("--library", std::string("means nothing to '") + name + "'");
  }
}

// The options that every command has, and the commands.
void set_up(CLI::App& app, GlobalOptions& options, Command& command) {
  app.footer(kFooter);
  app.add_flag("--json", options.json, "Print one JSON object, also for errors");
  app.add_flag("--quiet", options.quiet, "No progress and no notes");
  app.add_option(
      "--library", options.library,
      "The TelvarWrappers library; otherwise looked for beside the program, in ../lib, and by "
      "the system's rules");
  app.set_version_flag("--version", TELVAR_HOST_VERSION, "Print the program's version and exit");
  app.require_subcommand(1);
  app.fallthrough();
  add_commands(app, command);
  refuse_empty_values(app);
  for (auto* sub : app.get_subcommands({})) refuse_empty_values(*sub);
}

void parse(CLI::App& app, const std::vector<std::string>& arguments, const GlobalOptions& options) {
  for (const auto& argument : arguments) refuse_empty_value(argument);
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  if (!reversed.empty()) reversed.pop_back();  // the program's name
  app.parse(reversed);
  refuse_useless_library(app, options);
}

int show_version(bool json) {
  Outcome version;
  version.text = "telvar " TELVAR_HOST_VERSION "\n";
  version.json["version"] = TELVAR_HOST_VERSION;
  return show(version, json);
}

int show_help(const CLI::App& app, bool json) {
  Outcome help;
  help.text = app.help();
  help.json["help"] = help.text;
  return show(help, json);
}

}  // namespace

int run(const std::vector<std::string>& arguments) {
  prepare_console();
  cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
  GlobalOptions options;
  // Known before parsing, since an error of parsing must already be reported as asked.
  options.json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
  install_interrupt_handling(
      [json = options.json](int code) { report_error(json, code, "interrupted"); });

  CLI::App app("Trains and uses the reader, the classifier and the segmenter of TelvarWrappers.",
               "telvar");
  Command command;
  set_up(app, options, command);
  try {
    parse(app, arguments, options);
  } catch (const CLI::CallForVersion&) {
    return show_version(options.json);
  } catch (const CLI::CallForHelp& help) {
    if (names_no_command(app)) return fail(options.json, ExitCode::kUsage, explained(app, help));
    return show_help(app, options.json);
  } catch (const CLI::ParseError& error) {
    return fail(options.json, ExitCode::kUsage, explained(app, error));
  }
  return guarded(command, options);
}

}  // namespace telvar_host

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
#include "app/text.h"
#include "commands/commands.h"
#include "library/session.h"
#include "metrics/text_metrics.h"

namespace telvar_host {
namespace {

namespace Wrapper = Orbalt::TelvarWrapper;

constexpr const char* kFooter =
    "Exit codes: 0 done; 1 the operation failed; 2 wrong usage; 3 a data set, image, region or "
    "state "
    "file was refused; 4 the TelvarWrappers library cannot be loaded; 130 interrupted (128 + "
    "signal).\n"
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
    print_whole(own_stderr(), "telvar: " + message + "\n");
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

// "; did you mean 'process'?" for the nearest name, if any is near.
std::string suggestion(const std::string& given, const std::vector<std::string>& names) {
  std::string nearest;
  std::size_t least = std::max<std::size_t>(2, given.size() / 2);  // more than half is another word
  for (const auto& name : names) {
    const auto distance = edit_distance(code_points(given), code_points(name));
    if (distance >= least) continue;
    least = distance;
    nearest = name;
  }
  return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

std::vector<std::string> command_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const auto* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  return names;
}

std::vector<std::string> option_names(const CLI::App& app, const CLI::App& command) {
  std::vector<std::string> names;
  for (const auto* part : {&app, &command}) {
    for (const auto* option : part->get_options()) {
      if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames().front());
    }
  }
  return names;
}

// An option that the command does not have explains why another is missing.
std::string explained_option(const CLI::App& app, const CLI::ParseError& error) {
  const auto& command = *app.get_subcommands().front();
  for (const auto& argument : app.remaining(true)) {
    if (argument.compare(0, 2, "--") != 0 || argument.size() == 2) continue;
    const auto name = argument.substr(0, argument.find('='));
    return "'" + command.get_name() + "' has no option " + name +
           suggestion(name, option_names(app, command)) + "; telvar " + command.get_name() +
           " --help lists its options";
  }
  return error.what();
}

// CLI11 asks for a command first, even where one was meant and misspelt.
std::string explained(const CLI::App& app, const CLI::ParseError& error) {
  const auto unknown = app.remaining();
  if (!app.get_subcommands().empty()) return explained_option(app, error);
  const std::string hint = "; telvar --help lists the commands";
  if (unknown.empty()) return error.what() + hint;
  return "'" + unknown.front() + "' is no command" +
         suggestion(unknown.front(), command_names(app)) + hint;
}

// "telvar predict --help" asks for what there is not.
bool names_no_command(const CLI::App& app) {
  const auto unknown = app.remaining();
  return app.get_subcommands().empty() && !unknown.empty() && unknown.front().front() != '-';
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

/// Commands that load no library have no use for one.
void refuse_useless_library(const CLI::App& app, const GlobalOptions& options) {
  if (options.library.empty()) return;
  for (const char* name : {"check", "inspect", "convert", "merge"}) {
    if (!app.got_subcommand(name)) continue;
    throw CLI::ValidationError("--library", std::string("means nothing to '") + name + "'");
  }
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
  Command command;
  add_commands(app, command);
  refuse_empty_values(app);
  for (auto* sub : app.get_subcommands({})) refuse_empty_values(*sub);
  try {
    for (const auto& argument : arguments) refuse_empty_value(argument);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    if (!reversed.empty()) reversed.pop_back();  // the program's name
    app.parse(reversed);
    refuse_useless_library(app, options);
  } catch (const CLI::CallForVersion&) {
    Outcome version;
    version.text = "telvar " TELVAR_HOST_VERSION "\n";
    version.json["version"] = TELVAR_HOST_VERSION;
    return show(version, options.json);
  } catch (const CLI::CallForHelp& help) {
    if (names_no_command(app)) return fail(options.json, ExitCode::kUsage, explained(app, help));
    Outcome shown;
    shown.text = app.help();
    shown.json["help"] = shown.text;
    return show(shown, options.json);
  } catch (const CLI::ParseError& error) {
    return fail(options.json, ExitCode::kUsage, explained(app, error));
  }
  return guarded(command, options);
}

}  // namespace telvar_host

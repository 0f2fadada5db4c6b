#include "commands/usage_errors.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <vector>

#include "app/text.h"
#include "metrics/text_metrics.h"

namespace telvar_host {
namespace {

// What the commands are called elsewhere.
const std::map<std::string, std::string> kOtherNames = {
    {"predict", "process"}, {"infer", "process"},    {"run", "process"},     {"detect", "process"},
    {"read", "process"},    {"classify", "process"}, {"segment", "process"}, {"test", "evaluate"},
    {"eval", "evaluate"},   {"measure", "evaluate"}, {"fit", "train"},       {"learn", "train"},
    {"finetune", "train"},  {"fine-tune", "train"},  {"resume", "train"},    {"info", "inspect"},
    {"show", "inspect"},    {"validate", "check"},   {"import", "convert"},  {"annotate", "label"}};

// The nearest of the names, empty where none is near.
std::string nearest_to(const std::string& given, const std::vector<std::string>& names) {
  std::string nearest;
  // More than half is another word; two letters exchanged are a distance of two.
  std::size_t least = std::max<std::size_t>(2, (given.size() + 1) / 2);
  for (const auto& name : names) {
    const auto distance = edit_distance(code_points(given), code_points(name));
    if (distance >= least) continue;
    least = distance;
    nearest = name;
  }
  return nearest;
}

std::string advice(const std::string& meant, const std::string& help, const std::string& listed) {
  return (meant.empty() ? "; " : "; did you mean '" + meant + "'? ") + help + " --help lists " +
         listed;
}

std::string unknown_command(const CLI::App& app, const std::string& given) {
  std::vector<std::string> names;
  for (const auto* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  const auto known = kOtherNames.find(given);
  const auto meant = known != kOtherNames.end() ? known->second : nearest_to(given, names);
  return "'" + given + "' is no command" + advice(meant, "telvar", "the commands");
}

std::string unknown_option(const CLI::App& app, const CLI::App& command, const std::string& given) {
  std::vector<std::string> names;
  for (const auto* part : {&app, &command}) {
    for (const auto* option : part->get_options()) {
      if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames().front());
    }
  }
  const bool in_command = &command != &app;
  return "'" + command.get_name() + "' has no option " + given +
         advice(nearest_to(given, names), in_command ? "telvar " + command.get_name() : "telvar",
                "its options");
}

bool is_option(const std::string& argument) {
  return argument.size() > 1 && argument.front() == '-' && argument != "--";
}

}  // namespace

std::string explained(const CLI::App& app, const CLI::ParseError& error) {
  const auto commands = app.get_subcommands();
  const auto& command = commands.empty() ? app : *commands.front();
  // An option that the command does not have explains why another is missing.
  const auto rest = app.remaining(true);
  const auto option = std::find_if(rest.begin(), rest.end(), is_option);
  const bool is_first = option == rest.begin();  // otherwise it may be a misspelt command's
  if (option != rest.end() && (!commands.empty() || is_first)) {
    return unknown_option(app, command, option->substr(0, option->find('=')));
  }
  if (commands.empty() && !rest.empty()) return unknown_command(app, rest.front());
  const std::string reason = error.what();
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    return reason.substr(0, reason.find(':')) + " needs a value";
  }
  if (commands.empty()) return reason + advice("", "telvar", "the commands");
  const bool is_bare = !rest.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  return is_bare ? reason + "; '" + rest.front() + "' was given without an option" : reason;
}

bool names_no_command(const CLI::App& app) {
  const auto unknown = app.remaining();
  return app.get_subcommands().empty() && !unknown.empty() && !is_option(unknown.front());
}

}  // namespace telvar_host

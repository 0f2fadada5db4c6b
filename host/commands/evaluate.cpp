#include <CLI/CLI.hpp>
#include <memory>

#include "app/text.h"
#include "commands/commands.h"
#include "commands/run_evaluation.h"
#include "datasets/ocr_data.h"
#include "files/output.h"
#include "files/state_file.h"

namespace telvar_host {
namespace {

struct Options {
  std::string state;
  std::string data;
  std::string out;
  std::string size;
  bool force = false;
};

Outcome evaluate(const Options& options, Session& session) {
  const auto state = read_state(path_from_utf8(options.state));
  refuse_option(!options.size.empty() && state.tool != ToolKind::kOcr, "--size", state.tool);
  std::optional<NominalSize> size;
  if (!options.size.empty()) size = parse_size(options.size);
  std::unique_ptr<OutputFolder> out;
  if (!options.out.empty()) {
    out = std::make_unique<OutputFolder>(path_from_utf8(options.out), options.force);
  }
  const auto run =
      run_evaluation(session, state, path_from_utf8(options.data), size, out != nullptr);
  Outcome outcome;
  outcome.json["tool"] = tool_name(state.tool);
  outcome.json["data"] = options.data;
  outcome.json.update(run.json);
  outcome.text = run.text;
  if (out) {
    out->write("report.html", page_html("Evaluation of " + options.state,
                                        "Data set: " + options.data, {run.section}));
    out->write("results.json", dumped(outcome.json) + "\n");
    out->commit();
    outcome.json["report"] = utf8(out->target() / "report.html");
    outcome.text += "report in " + utf8(out->target() / "report.html") + "\n";
  }
  return outcome;
}

}  // namespace

void add_evaluate(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand("evaluate", "Measure a trained tool on a labelled data set");
  sub->add_option("--state", options->state, "The trained state")->required();
  sub->add_option("--data", options->data,
                  "The data set (docs/datasets.md); its test/ if it has one")
      ->required();
  sub->add_option("--size", options->size,
                  "ocr: nominal character size WxH; otherwise that of the training");
  auto* out = sub->add_option("--out", options->out, "Folder for report.html and results.json");
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty")->needs(out);
  sub->footer("Example:\n  telvar evaluate --state parts.telvar --data held-out/ --out report/");
  sub->callback([&command, options] {
    command = [options](Session& session) { return evaluate(*options, session); };
  });
}

}  // namespace telvar_host

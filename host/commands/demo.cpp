#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <variant>

#include "app/text.h"
#include "commands/commands.h"
#include "commands/run_evaluation.h"
#include "demo/demo_sets.h"
#include "files/output.h"
#include "tools/training.h"

namespace telvar_host {
namespace {

struct Options {
  std::string out = "telvar-demo";
  std::string root = "/";
  std::string labels;
  std::string budget = "full";
  bool force = false;
};

struct Budget {
  ImageCounts clothes;  // of each category
  ImageCounts discs;
  ImageCounts codes;
};

const std::map<std::string, Budget> kBudgets = {
    {"full", {{200, 100}, {40, 40}, {24, 80}}},
    {"small", {{20, 20}, {8, 8}, {8, 10}}},
};

struct Job {
  ToolKind tool;
  std::string title;
  // Writes the data set into `folder`; returns what the report says about it.
  std::function<std::string(const std::string& folder)> prepare;
  std::vector<const char*> metrics;  // JSON keys for the table
  Fielding fielding;
};

std::string text(std::size_t number) {
  return std::to_string(number);
}

Job clothes_job(const DemoSources& sources, const ImageCounts& counts, OutputFolder& out) {
  return {ToolKind::kClassifier,
          "Classifier: clothes",
          [=, &out](const std::string& folder) {
            write_fashion(sources, folder, counts, out);
            return "Trained on " + text(counts.train) + " images of each of the 10 categories of " +
                   "Fashion-MNIST (Debian's dataset-fashion-mnist), measured on " +
                   text(counts.test) + " others of each, out of its test file.";
          },
          {"accuracy"},
          {}};
}

Job discs_job(const DemoSources& sources, const ImageCounts& counts, OutputFolder& out) {
  return {ToolKind::kSegmenter,
          "Segmenter: discs on a moving board",
          [=, &out](const std::string& folder) {
            write_discs(sources, folder, counts, out);
            return "Trained on " + text(counts.train) + " frames of a camera (sequence mire-2 of " +
                   "Debian's visp-images-data), measured on " + text(counts.test) + " later ones.";
          },
          {"mean_iou"},
          {}};
}

Job codes_job(const DemoSources& sources, const ImageCounts& counts, OutputFolder& out) {
  return {
      ToolKind::kOcr,
      "Character reader: printed lot numbers and dates",
      [=, &out](const std::string& folder) {
        write_codes(sources, folder, counts, out);
        return "Trained on " + text(counts.train) + " images with every character marked, " +
               "measured on " + text(counts.test) + " with other codes, on photographs of " +
               "other scenes. The photographs are real (Debian's visp-images-data); the codes " +
               "are drawn on them as a dot-matrix printer sets them. The reader is told the " +
               "pattern: four letters and four digits, below them a date. What does not fit it " +
               "counts as not read.";
      },
      {"exact_line_rate", "exact_line_rate_without_patterns"},
      code_patterns()};
}

std::vector<Job> jobs(const DemoSources& sources, const Budget& budget, OutputFolder& out) {
  return {clothes_job(sources, budget.clothes, out), discs_job(sources, budget.discs, out),
          codes_job(sources, budget.codes, out)};
}

struct Done {
  Json json;
  Section section;
  bool failed = false;
};

// Puts the figures without patterns beside those with them, which shows what patterns are worth.
void add_plain_reading(const EvaluationRun& plain, Done& done) {
  const auto& rate = plain.json["exact_line_rate"];
  done.json["exact_line_rate_without_patterns"] = rate;
  done.json["character_error_rate_without_patterns"] = plain.json["character_error_rate"];
  auto& figures = done.section.figures;
  for (auto& figure : figures) {
    if (figure.label == "lines read exactly") figure.label += ", by the pattern";
  }
  figures.insert(figures.begin() + 2,
                 Figure{rate.is_null() ? "-" : fixed(100 * rate.get<double>(), 1) + " %",
                        "lines read exactly, without it"});
}

Done run_job(const Job& job, Session& session, OutputFolder& out) {
  const std::string name = tool_name(job.tool);
  const auto folder = "data/" + name;
  const bool patterns = !std::holds_alternative<std::monostate>(job.fielding);
  Done done;
  session.progress.note(job.title);
  const auto about = job.prepare(folder);
  StateFile state;
  state.tool = job.tool;
  const auto training = run_training(session, out.staging() / folder, state);
  out.write("states/" + name + ".telvar", serialised(training.state));
  auto evaluation =
      run_evaluation(session, training.state, out.staging() / folder, {}, true, job.fielding);
  done.json = {{"training_seconds", training.seconds}, {"training_images", training.images}};
  done.json.update(evaluation.json);
  done.section = std::move(evaluation.section);
  done.section.title = job.title;
  done.section.lead = about;
  if (patterns) {
    add_plain_reading(run_evaluation(session, training.state, out.staging() / folder, {}, false),
                      done);
  }
  done.section.figures.insert(done.section.figures.begin() + 1,
                              Figure{fixed(training.seconds, 0) + " s", "training"});
  return done;
}

// A tool that fails leaves the others their part of the page; without the library none can run.
Done attempt(const Job& job, Session& session, OutputFolder& out) {
  try {
    return run_job(job, session, out);
  } catch (const std::exception& error) {
    session.progress.finish();
    const auto* of_host = dynamic_cast<const HostError*>(&error);
    if (of_host != nullptr && of_host->code() == ExitCode::kNoLibrary) throw;
    Section section{tool_name(job.tool), job.title, std::string("failed: ") + error.what(), {}, ""};
    return Done{{{"error", error.what()}}, std::move(section), true};
  }
}

std::string table_row(const Job& job, const Done& done) {
  std::string row = padded(tool_name(job.tool), 12);
  if (done.failed) return row + "FAILED: " + done.json["error"].get<std::string>() + "\n";
  row += padded(fixed(done.json["training_seconds"].get<double>(), 1), 12);
  std::string metrics;
  for (const auto* key : job.metrics) {
    metrics += std::string(key) + " " +
               (done.json[key].is_null() ? "-" : fixed(done.json[key].get<double>(), 4)) + "  ";
  }
  return row + padded(metrics, 36) + fixed(done.json["milliseconds_median"].get<double>(), 1) +
         "\n";
}

Outcome demo(const Options& options, Session& session) {
  DemoSources sources;
  sources.root = path_from_utf8(options.root);
  sources.labels = options.labels.empty() ? default_labels() : path_from_utf8(options.labels);
  OutputFolder out(path_from_utf8(options.out), options.force);
  session.library();
  Outcome outcome;
  std::vector<Section> sections;
  outcome.text = padded("tool", 12) + padded("training s", 12) + padded("on held-out images", 36) +
                 "ms an image\n";
  for (const auto& job : jobs(sources, kBudgets.at(options.budget), out)) {
    auto done = attempt(job, session, out);
    outcome.text += table_row(job, done);
    outcome.json[tool_name(job.tool)] = done.json;
    sections.push_back(std::move(done.section));
    if (done.failed) outcome.code = ExitCode::kFailed;
  }
  out.write(
      "report.html",
      page_html(
          "Three trainable vision tools at work",
          "Each tool was trained on this machine's processor, the reader from the network that "
          "the library brings along, and measured on images that it was not trained on.",
          sections));
  out.write("results.json", dumped(outcome.json) + "\n");
  out.commit();
  outcome.json["report"] = utf8(out.target() / "report.html");
  outcome.text += "report: " + utf8(out.target() / "report.html") + "\n";
  return outcome;
}

}  // namespace

void add_demo(CLI::App& app, Command& command) {
  auto options = std::make_shared<Options>();
  auto* sub = app.add_subcommand(
      "demo", "Train and evaluate all three tools on real data, and write a page");
  sub->add_option("--out", options->out, "Folder for report.html, the data sets and the states")
      ->capture_default_str();
  sub->add_option("--root", options->root,
                  "Where usr/share/ of Debian's dataset-fashion-mnist and visp-images-data lies")
      ->capture_default_str();
  sub->add_option("--labels", options->labels,
                  "The project's examples/data, if it is not found by itself");
  sub->add_option("--budget", options->budget,
                  "full, or small: a tenth of the images, in less than a minute")
      ->capture_default_str()
      ->check(CLI::IsMember(kBudgets));
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty");
  sub->footer("Example:\n  telvar demo --out demo/\nscripts/demo.sh installs what it needs.");
  sub->callback([&command, options] {
    command = [options](Session& session) { return demo(*options, session); };
  });
}

}  // namespace telvar_host

#include <CLI/CLI.hpp>
#include <memory>

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
  bool force = false;
};

struct Job {
  ToolKind tool;
  std::string title;
  // Writes the data set into `folder`; returns what the report says about it.
  std::function<std::string(const std::string& folder)> prepare;
  std::vector<const char*> metrics;  // JSON keys for the table
};

std::vector<Job> jobs(const DemoSources& sources, OutputFolder& out) {
  return {
      {ToolKind::kClassifier,
       "Classifier: clothes",
       [&](const std::string& folder) {
         write_fashion(sources, folder, out);
         return std::string(
             "Fashion-MNIST (Debian's dataset-fashion-mnist): 200 pictures of each of 10 "
             "classes to train, 100 of each from its test file to measure.");
       },
       {"accuracy"}},
      {ToolKind::kSegmenter,
       "Segmenter: discs on a moving board",
       [&](const std::string& folder) {
         write_discs(sources, folder, out);
         return std::string(
             "Camera frames (sequence mire-2 of Debian's visp-images-data): 40 frames to "
             "train, 40 later ones to measure.");
       },
       {"mean_iou"}},
      {ToolKind::kOcr,
       "Character reader: a typewritten letter",
       [&](const std::string& folder) {
         const auto split = write_letter(sources, folder, out);
         return "A scanned letter (Debian's jbigkit-testdata). Only some characters are marked: " +
                std::to_string(split.train) + " to train, and " + std::to_string(split.test) +
                " on other lines to measure; " + std::to_string(split.left_out) +
                " more are left out because their kind has fewer than three training marks. Kinds "
                "that are never or hardly marked (m, w, most capitals) are unknown to the reader: "
                "on the page below they are missing or taken for others.";
       },
       {"character_error_rate"}}};
}

struct Done {
  Json json;
  Section section;
  bool failed = false;
};

Done run_job(const Job& job, Session& session, OutputFolder& out) {
  const std::string name = tool_name(job.tool);
  const auto folder = "data/" + name;
  Done done;
  session.progress.note(job.title);
  const auto about = job.prepare(folder);
  StateFile state;
  state.tool = job.tool;
  const auto training = run_training(session, out.staging() / folder, state);
  out.write("states/" + name + ".telvar", serialised(training.state));
  auto evaluation = run_evaluation(session, training.state, out.staging() / folder, {}, true);
  done.json = {{"training_seconds", training.seconds}, {"training_images", training.images}};
  done.json.update(evaluation.json);
  done.section = std::move(evaluation.section);
  done.section.title = job.title;
  done.section.lead = about;
  done.section.figures.insert(done.section.figures.begin() + 1,
                              Figure{fixed(training.seconds, 0) + " s", "training"});
  return done;
}

// A tool that fails leaves the others their part of the page.
Done attempt(const Job& job, Session& session, OutputFolder& out) {
  try {
    return run_job(job, session, out);
  } catch (const HostError& error) {
    if (error.code() == ExitCode::kNoLibrary) throw;
    Done done{{{"error", error.what()}}, {}, true};
    done.section = {tool_name(job.tool), job.title, std::string("failed: ") + error.what(), {}, ""};
    return done;
  } catch (const std::exception& error) {
    session.progress.finish();
    Done done{{{"error", error.what()}}, {}, true};
    done.section = {tool_name(job.tool), job.title, std::string("failed: ") + error.what(), {}, ""};
    return done;
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
  outcome.text = padded("tool", 12) + padded("training s", 12) +
                 padded("on held-back pictures", 36) + "ms a picture\n";
  for (const auto& job : jobs(sources, out)) {
    auto done = attempt(job, session, out);
    outcome.text += table_row(job, done);
    outcome.json[tool_name(job.tool)] = done.json;
    sections.push_back(std::move(done.section));
    if (done.failed) outcome.code = ExitCode::kFailed;
  }
  out.write(
      "report.html",
      page_html("Three trainable vision tools on real pictures",
                "Each tool was trained from nothing on this machine's processor and measured on "
                "pictures, or parts of them, that it was not trained on.",
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
                  "Where usr/share/ of Debian's dataset-fashion-mnist, visp-images-data and "
                  "jbigkit-testdata lies; jbgtopbm of jbigkit-bin is run as well")
      ->capture_default_str();
  sub->add_option("--labels", options->labels,
                  "The project's examples/data, if it is not found by itself");
  sub->add_flag("--force", options->force, "Write into --out even if it is not empty");
  sub->footer("Example:\n  telvar demo --out demo/\nscripts/demo.sh installs what it needs.");
  sub->callback([&command, options] {
    command = [options](Session& session) { return demo(*options, session); };
  });
}

}  // namespace telvar_host

#include "tools/training.h"

#include <chrono>

#include "app/errors.h"
#include "app/text.h"
#include "files/state_about.h"
#include "tools/classifier_tool.h"
#include "tools/loading.h"
#include "tools/readable.h"
#include "tools/reader_tool.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {
namespace {

// Trains on `data`.
template <typename Tool, typename Data, typename Train>
TrainingRun timed(Session& session, const StateFile& from, Data& data, bool skip_bad,
                  const Train& train) {
  TrainingRun run;
  if (skip_bad) run.skipped = remove_unreadable(data, session.progress);
  Tool tool(session, from);
  const auto start = std::chrono::steady_clock::now();
  run.score = naming_all_unreadable(data, session.progress, " (--skip-bad leaves them out)", [&] {
    return interruptible([&](const StopRequest& stop) { return train(tool, stop); });
  });
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  run.state = tool.state();
  run.images = data.items.size();
  return run;
}

TrainingRun train_classifier(Session& session, const std::filesystem::path& source,
                             const StateFile& from, const TrainingSettings& settings) {
  Problems problems;
  auto data = read_classifier_data(source, Purpose::kTrain, problems);
  problems.throw_if_any();
  auto run = timed<ClassifierTool>(session, from, data, settings.skip_bad,
                                   [&](ClassifierTool& tool, const StopRequest& stop) {
                                     return tool.train(data, session.progress, stop);
                                   });
  for (const auto& item : data.items) ++run.counts[item.category];
  return run;
}

TrainingRun train_segmenter(Session& session, const std::filesystem::path& source,
                            const StateFile& from, const TrainingSettings& settings) {
  Problems problems;
  auto data = read_segmenter_data(source, Purpose::kTrain, problems);
  problems.throw_if_any();
  auto run = timed<SegmenterTool>(session, from, data, settings.skip_bad,
                                  [&](SegmenterTool& tool, const StopRequest& stop) {
                                    return tool.train(data, session.progress, stop);
                                  });
  for (const auto& item : data.items) {
    for (const auto& mask : item.masks) ++run.counts[mask.first];
  }
  return run;
}

NominalSize training_size(const std::optional<NominalSize>& given, const OcrData& data,
                          const std::filesystem::path& source, const StateFile& from) {
  if (given) return *given;
  if (data.size.is_set()) return data.size;
  if (from.size.is_set()) return from.size;
  if (const auto size = median_box(data); size.is_set()) return size;
  throw usage_error(utf8(source) +
                    ": the labels name no character size and hold no boxes; give --size WxH");
}

// Such an image would teach that there is nothing to read in it.
void require_places(const OcrData& data, Problems& problems) {
  for (const auto& item : data.items) {
    if (needs_places(item)) {
      problems.add(utf8(item.file), "no_places",
                   "has text but no characters; telvar label finds their places");
    }
  }
}

TrainingRun train_reader(Session& session, const std::filesystem::path& source,
                         const StateFile& from, const TrainingSettings& settings) {
  Problems problems;
  auto data = read_ocr_data(source, Purpose::kTrain, problems);
  require_places(data, problems);
  problems.throw_if_any();
  const auto size = training_size(settings.size, data, source, from);
  auto run = timed<ReaderTool>(session, from, data, settings.skip_bad,
                               [&](ReaderTool& tool, const StopRequest& stop) {
                                 return tool.train(data, size, session.progress, stop);
                               });
  for (const auto& item : data.items) {
    for (const auto& mark : item.characters) ++run.counts[mark.category];
  }
  return run;
}

TrainingRun trained(Session& session, const std::filesystem::path& data, const StateFile& from,
                    const TrainingSettings& settings) {
  switch (from.tool) {
    case ToolKind::kOcr:
      return train_reader(session, data, from, settings);
    case ToolKind::kClassifier:
      return train_classifier(session, data, from, settings);
    case ToolKind::kSegmenter:
      break;
  }
  return train_segmenter(session, data, from, settings);
}

}  // namespace

TrainingRun run_training(Session& session, const std::filesystem::path& data, const StateFile& from,
                         const TrainingSettings& settings) {
  auto about = about_of(from, "the state");
  auto run = trained(session, data, from, settings);
  add_training(about,
               {utc_now(), TELVAR_HOST_VERSION, run.images, run.counts, run.score, run.seconds});
  run.state.about = serialised(about);
  return run;
}

std::string measured_on(ToolKind tool, double score) {
  switch (tool) {
    case ToolKind::kOcr:
      return score < 0
                 ? "characters read right on the training images themselves: none could be held out"
                 : "characters read right on images that had not been learned from";
    case ToolKind::kClassifier:
      return "accuracy on held-out images, or by cross-validation where they are few";
    case ToolKind::kSegmenter:
      break;
  }
  return "mean intersection over union on held-out images";
}

}  // namespace telvar_host

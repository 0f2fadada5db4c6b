#include "tools/training.h"

#include <chrono>

#include "app/errors.h"
#include "files/state_about.h"
#include "tools/classifier_tool.h"
#include "tools/reader_tool.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {
namespace {

template <typename Tool, typename Train>
TrainingRun timed(Session& session, const StateFile& from, const Train& train) {
  Tool tool(session, from);
  TrainingRun run;
  const auto start = std::chrono::steady_clock::now();
  run.score = train(tool);
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  run.state = tool.state();
  return run;
}

TrainingRun train_classifier(Session& session, const std::filesystem::path& source,
                             const StateFile& from) {
  Problems problems;
  const auto data = read_classifier_data(source, Purpose::kTrain, problems);
  problems.throw_if_any();
  auto run = timed<ClassifierTool>(
      session, from, [&](ClassifierTool& tool) { return tool.train(data, session.progress); });
  run.images = data.items.size();
  for (const auto& item : data.items) ++run.counts[item.category];
  return run;
}

TrainingRun train_segmenter(Session& session, const std::filesystem::path& source,
                            const StateFile& from) {
  Problems problems;
  const auto data = read_segmenter_data(source, Purpose::kTrain, problems);
  problems.throw_if_any();
  auto run = timed<SegmenterTool>(
      session, from, [&](SegmenterTool& tool) { return tool.train(data, session.progress); });
  run.images = data.items.size();
  for (const auto& item : data.items) {
    for (const auto& mask : item.masks) ++run.counts[mask.first];
  }
  return run;
}

NominalSize training_size(const std::optional<NominalSize>& given, const OcrData& data,
                          const StateFile& from) {
  if (given) return *given;
  if (data.size.is_set()) return data.size;
  if (from.size.is_set()) return from.size;
  if (const auto size = median_box(data); size.is_set()) return size;
  throw usage_error("the labels name no character size and hold no boxes; give --size WxH");
}

TrainingRun train_reader(Session& session, const std::filesystem::path& source,
                         const StateFile& from, const std::optional<NominalSize>& given) {
  Problems problems;
  const auto data = read_ocr_data(source, Purpose::kTrain, problems);
  problems.throw_if_any();
  const auto size = training_size(given, data, from);
  auto run = timed<ReaderTool>(
      session, from, [&](ReaderTool& tool) { return tool.train(data, size, session.progress); });
  run.images = data.items.size();
  for (const auto& item : data.items) {
    for (const auto& mark : item.characters) ++run.counts[mark.category];
  }
  return run;
}

TrainingRun trained(Session& session, const std::filesystem::path& data, const StateFile& from,
                    const std::optional<NominalSize>& size) {
  switch (from.tool) {
    case ToolKind::kOcr:
      return train_reader(session, data, from, size);
    case ToolKind::kClassifier:
      return train_classifier(session, data, from);
    case ToolKind::kSegmenter:
      break;
  }
  return train_segmenter(session, data, from);
}

}  // namespace

TrainingRun run_training(Session& session, const std::filesystem::path& data, const StateFile& from,
                         const std::optional<NominalSize>& size) {
  auto about = about_of(from, "the state");
  auto run = trained(session, data, from, size);
  add_training(about,
               {utc_now(), TELVAR_HOST_VERSION, run.images, run.counts, run.score, run.seconds});
  run.state.about = serialised(about);
  return run;
}

}  // namespace telvar_host

#include "commands/batch_run.h"

#include <TelvarTypes/Exceptions.h>

#include <functional>
#include <map>
#include <opencv2/core.hpp>
#include <set>

#include "app/errors.h"
#include "app/text.h"
#include "commands/process_items.h"
#include "datasets/tables.h"
#include "files/file_names.h"
#include "images/read_image.h"
#include "tools/classifier_tool.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {
namespace {

constexpr std::size_t kGroupPictures = 64;
constexpr std::size_t kGroupBytes = std::size_t{256} << 20;

using Pictures = std::map<std::string, cv::Mat>;

struct ResultRow {
  std::vector<std::string> fields;  // after file and error
  Json json = Json::object();
  std::string error;
};

using Rows = std::map<std::string, ResultRow>;

// What one tool makes of a group of pictures.
class BatchTool {
 public:
  virtual ~BatchTool() = default;
  virtual Rows run(const Pictures& pictures) = 0;
  // Names of `ResultRow::fields`; known once something was processed.
  virtual std::vector<std::string> columns() const = 0;
};

class ClassifierBatch : public BatchTool {
 public:
  ClassifierBatch(Session& session, const StateFile& state) : tool_(session, state) {}

  Rows run(const Pictures& pictures) override {
    Rows rows;
    for (const auto& [id, scores] : tool_.batch(pictures)) {
      auto& row = rows[id];
      const auto best = best_of(scores);
      row.fields = {best.categoryId, fixed(best.score, 6)};
      row.json = {{"category", best.categoryId}, {"score", best.score}};
      categories_.clear();
      for (const auto& score : scores) {
        categories_.push_back(score.categoryId);
        row.fields.push_back(fixed(score.score, 6));
        row.json["scores"][score.categoryId] = score.score;
      }
    }
    return rows;
  }

  std::vector<std::string> columns() const override {
    std::vector<std::string> names = {"category", "score"};
    for (const auto& category : categories_) names.push_back("score:" + category);
    return names;
  }

 private:
  ClassifierTool tool_;
  std::vector<std::string> categories_;
};

class SegmenterBatch : public BatchTool {
 public:
  SegmenterBatch(Session& session, const StateFile& state, OutputFolder& out)
      : tool_(session, state), out_(out) {}

  Rows run(const Pictures& pictures) override {
    Rows rows;
    for (const auto& [id, probabilities] : tool_.batch(pictures)) {
      auto& row = rows[id];
      categories_.clear();
      for (const auto& [category, probability] : probabilities) {
        categories_.push_back(category);
        const auto pixels = cv::countNonZero(probability >= 128);
        const auto mask = "masks/" + names_.of(category) + "/" + id + ".png";
        out_.write(path_from_utf8(mask), encoded(probability, ".png"));
        row.fields.push_back(std::to_string(pixels));
        row.json["categories"][category] = {
            {"pixels", pixels},
            {"share", pixels / static_cast<double>(probability.total())},
            {"mask", mask}};
      }
    }
    return rows;
  }

  std::vector<std::string> columns() const override {
    std::vector<std::string> names;
    for (const auto& category : categories_) names.push_back("pixels:" + category);
    return names;
  }

 private:
  SegmenterTool tool_;
  OutputFolder& out_;
  CategoryFileNames names_;
  std::vector<std::string> categories_;
};

bool concerns_every_picture(const std::exception& error) {
  namespace Wrapper = Orbalt::TelvarWrapper;
  return dynamic_cast<const Wrapper::InvalidTrainingArtifactException*>(&error) != nullptr ||
         dynamic_cast<const Wrapper::UnsupportedTrainingArtifactVersionException*>(&error) !=
             nullptr ||
         dynamic_cast<const Wrapper::InvalidOperationException*>(&error) != nullptr;
}

// A group at once; when the engine refuses it, one by one, to find the picture that is refused.
Rows run_group(BatchTool& tool, const Pictures& pictures) {
  namespace Wrapper = Orbalt::TelvarWrapper;
  if (pictures.empty()) return {};
  try {
    return tool.run(pictures);
  } catch (const Wrapper::TelvarException& error) {
    if (concerns_every_picture(error)) throw;
    Rows rows;
    if (pictures.size() == 1) {
      rows[pictures.begin()->first].error = error.what();
      return rows;
    }
    for (const auto& picture : pictures) rows.merge(run_group(tool, {picture}));
    return rows;
  }
}

Rows run_all(BatchTool& tool, const std::vector<BatchItem>& items, Progress& progress) {
  Rows rows;
  Pictures group;
  std::size_t bytes = 0;
  progress.start("batch", items.size());
  for (const auto& item : items) {
    try {
      group[item.id] = read_picture(item.file);
      bytes += group[item.id].total() * group[item.id].elemSize();
    } catch (const HostError& error) {
      group.erase(item.id);
      rows[item.id].error = error.what();
    }
    progress.step();
    if (group.size() >= kGroupPictures || bytes >= kGroupBytes) {
      rows.merge(run_group(tool, group));
      group.clear();
      bytes = 0;
    }
  }
  rows.merge(run_group(tool, group));
  progress.finish();
  return rows;
}

std::string csv_of(const std::vector<BatchItem>& items, const Rows& rows,
                   const std::vector<std::string>& columns) {
  std::string csv = "file";
  for (const auto& column : columns) csv += "," + csv_field(column);
  csv += ",error\n";
  for (const auto& item : items) {
    const auto& row = rows.at(item.id);
    csv += csv_field(item.id);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      csv += "," + (i < row.fields.size() ? csv_field(row.fields[i]) : std::string());
    }
    csv += "," + csv_field(row.error) + "\n";
  }
  return csv;
}

}  // namespace

BatchRun run_batch(Session& session, const StateFile& state, const std::vector<BatchItem>& items,
                   OutputFolder& out) {
  std::unique_ptr<BatchTool> tool;
  if (state.tool == ToolKind::kClassifier) {
    tool = std::make_unique<ClassifierBatch>(session, state);
  } else {
    tool = std::make_unique<SegmenterBatch>(session, state, out);
  }
  auto rows = run_all(*tool, items, session.progress);
  BatchRun run;
  run.json["tool"] = tool_name(state.tool);
  run.json["images"] = Json::array();
  for (const auto& item : items) {
    auto& row = rows[item.id];
    if (row.error.empty() && row.json.empty()) row.error = "the library returned no result";
    Json entry = {{"file", item.id}};
    entry.update(row.error.empty() ? row.json : Json{{"error", row.error}});
    run.json["images"].push_back(std::move(entry));
    if (!row.error.empty()) ++run.failed;
  }
  run.csv = csv_of(items, rows, tool->columns());
  return run;
}

}  // namespace telvar_host

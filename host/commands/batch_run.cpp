#include "commands/batch_run.h"

#include "app/errors.h"
#include "app/text.h"
#include "commands/batch_record.h"
#include "files/file_names.h"
#include "files/input.h"
#include "images/read_image.h"

namespace fs = std::filesystem;

namespace telvar_host {
namespace {

constexpr std::size_t kGroupImages = 64;
constexpr std::size_t kGroupBytes = std::size_t{256} << 20;

// Hidden, so that they stay behind when the results are made visible.
constexpr const char* kRecord = ".run.json";
constexpr const char* kResults = ".results";

// One group of images after the other.
class BatchRunner {
 public:
  BatchRunner(Session& session, const StateFile& state, const PredictorSettings& settings,
              KeptResults& kept, OutputFolder& out)
      : session_(session), state_(state), settings_(settings), kept_(kept), out_(out) {}

  void add(const ListedImage& image) {
    try {
      const auto pixels = read_image(image.file);
      bytes_ += pixels.total() * pixels.elemSize();
      pixels_[image.id] = pixels;
    } catch (const HostError& error) {
      if (concerns_every_image(error)) throw;
      errors_[image.id] = error.what();
    }
    group_.push_back(image);
    // Readings take long and gain nothing by company.
    const bool alone = state_.tool == ToolKind::kOcr;
    if (alone || group_.size() >= kGroupImages || bytes_ >= kGroupBytes) finish_group();
  }

  void finish_group() {
    if (group_.empty()) return;
    if (!predictor_) predictor_ = make_predictor(session_, state_, settings_);
    auto attempts = attempt(*predictor_, pixels_);
    std::vector<std::pair<ListedImage, Json>> results;
    for (const auto& image : group_) {
      results.emplace_back(image, result_of(image, attempts[image.id]));
      done_[image.id] = results.back().second;
    }
    kept_.add(results);
    group_.clear();
    pixels_.clear();
    errors_.clear();
    bytes_ = 0;
  }

  Json take(const std::string& id) { return std::move(done_.at(id)); }

 private:
  Json result_of(const ListedImage& image, const Attempt& attempt) {
    Json json = {{"file", image.id}};
    const auto unread = errors_.find(image.id);
    if (unread != errors_.end() || !attempt.prediction) {
      json["error"] = unread != errors_.end() ? unread->second : attempt.error;
      return json;
    }
    json.update(json_of(*attempt.prediction));
    for (const auto& [category, map] : attempt.prediction->maps) {
      const auto mask = "masks/" + names_.of(category) + "/" + image.id + ".png";
      out_.write(path_from_utf8(mask), encoded(map, ".png"));
      json["categories"][category]["mask"] = mask;
    }
    return json;
  }

  Session& session_;
  const StateFile& state_;
  const PredictorSettings& settings_;
  KeptResults& kept_;
  OutputFolder& out_;
  std::unique_ptr<Predictor> predictor_;
  CategoryFileNames names_;
  std::vector<ListedImage> group_;
  Images pixels_;
  std::map<std::string, std::string> errors_;  // of images that cannot be read
  std::size_t bytes_ = 0;
  std::map<std::string, Json> done_;
};

}  // namespace

KeptResults::KeptResults(OutputFolder& out, const Json& record, bool force) : out_(out) {
  if (out.resumed()) {
    const auto file = out.staging() / kRecord;
    const bool known = fs::exists(file);
    if (known && same_predictions(Json::parse(read_file(file), nullptr, false), record)) {
      read();
    } else if (known && !force) {
      throw usage_error(utf8(out.staging()) +
                        ": holds an unfinished run with another state or other settings; give "
                        "--force to forget it");
    } else {
      out.discard_unfinished();
    }
  }
  out.write(kRecord, dumped(record) + "\n");
}

void KeptResults::read() {
  const auto file = out_.staging() / kResults;
  if (!fs::exists(file)) return;
  for (const auto& line : split_lines(read_file(file))) {
    // The last line of a run that was killed may be cut off.
    const auto json = Json::parse(line, nullptr, false);
    if (!json.is_object() || !json.contains("bytes") || !json.contains("result")) continue;
    const auto& result = json["result"];
    earlier_[result.value("file", "")] = {json["bytes"].get<std::uintmax_t>(), result};
  }
}

const Json* KeptResults::find(const ListedImage& image) const {
  const auto found = earlier_.find(image.id);
  const bool usable = found != earlier_.end() && found->second.first == image.bytes &&
                      !found->second.second.contains("error");
  return usable ? &found->second.second : nullptr;
}

void KeptResults::add(const std::vector<std::pair<ListedImage, Json>>& results) {
  std::string lines;
  for (const auto& [image, result] : results) {
    lines += dumped({{"bytes", image.bytes}, {"result", result}}, -1) + "\n";
  }
  out_.append(kResults, lines);
  out_.keep_unfinished();
}

std::vector<Json> run_batch(Session& session, const StateFile& state,
                            const PredictorSettings& settings,
                            const std::vector<ListedImage>& images, KeptResults& kept,
                            OutputFolder& out) {
  BatchRunner runner(session, state, settings, kept, out);
  session.progress.start("batch", images.size());
  for (const auto& image : images) {
    if (kept.find(image) == nullptr) runner.add(image);
    session.progress.step();
  }
  runner.finish_group();
  session.progress.finish();
  std::vector<Json> results;
  for (const auto& image : images) {
    const auto* earlier = kept.find(image);
    results.push_back(earlier != nullptr ? *earlier : runner.take(image.id));
  }
  return results;
}

}  // namespace telvar_host

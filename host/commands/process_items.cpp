#include "commands/process_items.h"

#include <TelvarTypes/Exceptions.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "app/text.h"
#include "images/read_image.h"
#include "report/annotate.h"
#include "tools/classifier_tool.h"
#include "tools/segmenter_tool.h"

namespace telvar_host {
namespace {

std::string with_percent(const std::string& name, double share) {
  return name + "  " + fixed(100 * share, 1) + " %";
}

class ClassifierProcessor : public Processor {
 public:
  ClassifierProcessor(Session& session, const StateFile& state) : tool_(session, state) {}

  ProcessedItem process(const cv::Mat& picture) override {
    auto scores = tool_.process(picture);
    ProcessedItem item;
    const auto best = best_of(scores);
    item.json["category"] = best.categoryId;
    item.json["score"] = best.score;
    item.json["scores"] = Json::object();
    for (const auto& score : scores) item.json["scores"][score.categoryId] = score.score;
    std::stable_sort(scores.begin(), scores.end(),
                     [](const auto& a, const auto& b) { return a.score > b.score; });
    for (std::size_t i = 0; i < std::min<std::size_t>(3, scores.size()); ++i) {
      item.text +=
          "  " + padded(scores[i].categoryId, 24) + " " + fixed(100 * scores[i].score, 1) + " %\n";
    }
    item.annotated = captioned(drawn_large(picture),
                               {{with_percent(best.categoryId, best.score), category_colour(0)}});
    return item;
  }

 private:
  ClassifierTool tool_;
};

class SegmenterProcessor : public Processor {
 public:
  SegmenterProcessor(Session& session, const StateFile& state, const ProcessSettings& settings)
      : tool_(session, state), settings_(settings) {}

  ProcessedItem process(const cv::Mat& picture) override {
    ProcessedItem item;
    item.maps = tool_.process(picture, settings_.region);
    item.json["categories"] = Json::object();
    std::vector<Caption> captions;
    for (const auto& [category, probability] : item.maps) {
      const cv::Mat found = probability >= 128;
      const auto pixels = cv::countNonZero(found);
      const double share = pixels / static_cast<double>(found.total());
      item.json["categories"][category] = {{"pixels", pixels},
                                           {"share", share},
                                           {"mean_probability", cv::mean(probability)[0] / 255}};
      item.text += "  " + padded(category, 24) + " " + std::to_string(pixels) + " pixels, " +
                   fixed(100 * share, 2) + " %\n";
      captions.push_back({with_percent(category, share), category_colour(captions.size())});
    }
    item.annotated = captioned(drawn_segments(picture, item.maps, settings_.region), captions);
    return item;
  }

 private:
  SegmenterTool tool_;
  ProcessSettings settings_;
};

class ReaderProcessor : public Processor {
 public:
  ReaderProcessor(Session& session, const StateFile& state, const ProcessSettings& settings)
      : tool_(session, state), settings_(settings) {}

  ProcessedItem process(const cv::Mat& picture) override {
    const auto reading =
        tool_.process(picture, settings_.region, settings_.size, settings_.fielding);
    ProcessedItem item;
    item.json["text"] = reading.texts();
    if (!std::holds_alternative<std::monostate>(settings_.fielding)) {
      item.json["pattern"] = reading.pattern;
    }
    item.json["mean_score"] = reading.mean_score;
    item.json["lowest_score"] = reading.lowest_score;
    item.json["characters"] = characters_json(reading);
    item.json["lines"] = Json::array();
    std::vector<Caption> captions;
    for (const auto& line : reading.lines) {
      item.json["lines"].push_back({{"text", line.text}, {"characters", line.characters}});
      item.text +=
          "  " + padded(fixed(100 * lowest(reading, line), 0) + " %", 6) + line.text + "\n";
      captions.push_back({line.text, category_colour(captions.size())});
    }
    if (reading.lines.empty()) item.text = "  nothing read\n";
    if (!reading.pattern.empty()) item.text += "  pattern " + reading.pattern + "\n";
    item.annotated =
        captioned(drawn_reading(picture, reading, settings_.region, settings_.size), captions);
    return item;
  }

 private:
  static Json characters_json(const Reading& reading) {
    auto list = Json::array();
    for (const auto& c : reading.characters) {
      list.push_back({{"x", c.x},
                      {"y", c.y},
                      {"category", c.category},
                      {"score", c.score},
                      {"strength", c.strength}});
    }
    return list;
  }

  static double lowest(const Reading& reading, const ReadLine& line) {
    double lowest = line.characters.empty() ? 0 : 1;
    for (const auto index : line.characters) {
      lowest = std::min(lowest, reading.characters[index].score);
    }
    return lowest;
  }

  ReaderTool tool_;
  ProcessSettings settings_;
};

ProcessedItem failed_item(ExitCode code, const std::string& why) {
  ProcessedItem item;
  item.code = code;
  item.json["error"] = why;
  item.text = "  error: " + why + "\n";
  return item;
}

// The item already says which file it is about.
std::string without_prefix(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : text;
}

ProcessedItem attempt(Processor& processor, const std::string& image) {
  namespace Wrapper = Orbalt::TelvarWrapper;
  const auto path = path_from_utf8(image);
  try {
    return processor.process(read_picture(path));
  } catch (const HostError& error) {
    if (error.code() != ExitCode::kBadData) throw;
    return failed_item(ExitCode::kBadData, without_prefix(error.what(), utf8(path) + ": "));
  } catch (const Wrapper::InvalidTrainingArtifactException&) {
    throw;  // true of every picture
  } catch (const Wrapper::UnsupportedTrainingArtifactVersionException&) {
    throw;
  } catch (const Wrapper::InvalidOperationException&) {
    throw;
  } catch (const Wrapper::TelvarException& error) {
    return failed_item(ExitCode::kBadData, error.what());
  }
}

}  // namespace

std::unique_ptr<Processor> make_processor(Session& session, const StateFile& state,
                                          const ProcessSettings& settings) {
  switch (state.tool) {
    case ToolKind::kOcr:
      return std::make_unique<ReaderProcessor>(session, state, settings);
    case ToolKind::kClassifier:
      return std::make_unique<ClassifierProcessor>(session, state);
    case ToolKind::kSegmenter:
      break;
  }
  return std::make_unique<SegmenterProcessor>(session, state, settings);
}

ProcessedItem processed(Processor& processor, const std::string& image) {
  auto item = attempt(processor, image);
  Json named = {{"file", image}};
  named.update(item.json);
  item.json = std::move(named);
  item.text = image + "\n" + item.text;
  return item;
}

}  // namespace telvar_host

#pragma once

// The three tools of a host that loads the library at run time, trained on the little samples.

#include <TelvarTypes/TelvarTypes.h>
#include <TelvarWrappers/CreateWrapperFactory.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "contract/little_samples.h"
#include "contract/loaded_library.h"

namespace little_tools {

namespace samples = little_samples;
namespace Types = Orbalt::TelvarWrapper::Types;

inline void require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

/// A host's exit code: 0, or 1 after it has printed what `run` threw.
template <class Run>
int exit_code_of(Run run) {
  try {
    run();
    return 0;
  } catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
}

inline std::shared_ptr<Types::IWrapperFactory> factory_of(const LoadedLibrary& library) {
  std::shared_ptr<Types::IWrapperFactory> factory;
  library.Find<void(std::shared_ptr<Types::IWrapperFactory>&)>("CreateWrapperFactory")(factory);
  return factory;
}

struct Artifacts {
  std::string reader, classifier, segmenter;
};

/// Trained on other images by version 1.0; from a folder with its files.
inline Artifacts kept_artifacts(const std::string& folder) {
  const auto read = [&](const char* name) {
    std::ifstream file(folder + "/" + name + ".artifact", std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(file), {});
    require(!bytes.empty(), std::string("no artifact of the ") + name);
    return bytes;
  };
  return {read("reader"), read("classifier"), read("segmenter")};
}

struct Tools {
  Tools(Types::IWrapperFactory& factory, const Artifacts& artifacts)
      : reader(factory.CreateSmartOCRWrapper(
            std::make_unique<Types::SmartOCR::Data>(artifacts.reader, ""))),
        classifier(factory.CreateSmartClassifierWrapper(
            std::make_unique<Types::SmartClassifier::Data>(artifacts.classifier, ""))),
        segmenter(factory.CreateSmartSegmenterWrapper(
            std::make_unique<Types::SmartSegmenter::Data>(artifacts.segmenter, ""))) {}

  std::shared_ptr<Types::ISmartOCRWrapper> reader;
  std::shared_ptr<Types::ISmartClassifierWrapper> classifier;
  std::shared_ptr<Types::ISmartSegmenterWrapper> segmenter;
};

inline std::string train_segmenter(const Tools& tools) {
  tools.segmenter->Train(samples::ToSegment(), samples::LoadSample, samples::LoadMask);
  return tools.segmenter->GetData()->artifact;
}

inline Artifacts train(const Tools& tools) {
  tools.reader->Train(samples::ToRead(), samples::LoadSample);
  tools.classifier->Train(samples::ToClassify(), samples::LoadSample);
  return {tools.reader->GetData()->artifact, tools.classifier->GetData()->artifact,
          train_segmenter(tools)};
}

inline std::string best_of(const Types::SmartClassifier::Result& result) {
  require(!result.scores.empty(), "no scores");
  return std::max_element(result.scores.begin(), result.scores.end(),
                          [](const auto& a, const auto& b) { return a.score < b.score; })
      ->categoryId;
}

/// Everything that the tools answer to one of the little samples.
struct Answers {
  Types::SmartOCR::ProcessResult read;
  Types::SmartClassifier::Result classified;
  Types::SmartSegmenter::ProcessResult segmented;
};

inline Answers answers_to(const Tools& tools, const std::string& id) {
  const auto image = samples::LoadSample(id);
  return {tools.reader->Process(image, nullptr, samples::kCharacter),
          tools.classifier->Process(image), tools.segmenter->Process(image, nullptr)};
}

/// Every bit of the answers but the times that they took.
inline std::string exact_text(const Answers& answers) {
  std::ostringstream text;
  text << std::hexfloat;
  for (const auto& character : *answers.read.sample.characters) {
    text << character.firstValue << ' ' << character.secondValue << ' ' << character.thirdValue
         << '\n';
    for (const auto& category : *character.categoryResults) {
      text << category.categoryId << ' ' << category.score << '\n';
    }
  }
  for (const auto& score : answers.classified.scores) {
    text << score.categoryId << ' ' << score.score << '\n';
  }
  for (const auto& [name, image] : answers.segmented.resultImages) {
    text << name << ' ' << std::string(image->pixels.begin(), image->pixels.end()) << '\n';
  }
  return text.str();
}

/// Throws unless every tool answers every little sample as it was taught.
inline void require_right_answers(const Tools& tools) {
  for (const std::string& id : samples::kIds) {
    const Answers answers = answers_to(tools, id);
    const std::string letter = samples::LetterOf(id);
    const auto& lines = *answers.read.sample.lines;
    require(lines.size() == 1 && lines.front().text == letter, id + " is not read");
    require(best_of(answers.classified) == letter, id + " is not classified");
    const auto& ink = answers.segmented.resultImages.at("ink")->pixels;
    const auto mask = samples::LoadMask(id);
    require(std::equal(ink.begin(), ink.end(), mask->pixels,
                       [](int found, int drawn) { return (found > 127) == (drawn > 127); }),
            id + " is not segmented");
  }
}

}  // namespace little_tools

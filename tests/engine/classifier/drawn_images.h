#pragma once

// Small generated images that a classifier can learn in a second, and the calls around it.

#include <map>
#include <string>
#include <vector>

#include "telvar/classifier.h"
#include "telvar_msg/classification.pb.h"
#include "telvar_msg/common.pb.h"

namespace telvar::test {

namespace engine = telvar::qv::classifier;
namespace messages = telvar_msg::qv::classification;

/// Images by identifier, "<kind>/<number>". Kinds: 0 ring, 1 cross, 2 bar, 3 dots; drawn with
/// random place, size and light, 24 to 36 px a side.
struct ImageSet {
  std::map<std::string, types::Image> images;
  std::map<std::string, std::string> labels;

  /// Adds `count` images of a kind, numbered from `first`; the numbers seed them.
  void add(int kind, int first, int count, unsigned channels = 1, unsigned bits = 8);

  types::ImageLoader loader() const;
  std::string dataset() const;
  std::string batch() const;
};

types::Image draw_image(int kind, int number, unsigned channels, unsigned bits);

std::string parameters(int effort);

struct Trained {
  messages::TrainingResult result;
  std::string artifact;
};

/// Trains at low effort.
Trained train(const ImageSet& set, const std::string& artifact, engine::TrainCache& cache,
              int effort = 1);
Trained train(const ImageSet& set, const std::string& artifact = "", int effort = 1);

/// Share of the set's samples whose best score is their label's.
double accuracy(const std::string& artifact, const ImageSet& set);
double accuracy(const google::protobuf::Map<std::string, messages::SampleResult>& results,
                const ImageSet& set);

}  // namespace telvar::test

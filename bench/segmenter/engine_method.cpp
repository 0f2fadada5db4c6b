#include "methods.h"
#include "telvar/segmenter.h"
#include "telvar_msg/segmentation.pb.h"

namespace telvar::bench {
namespace {

namespace seg = qv::segmenter;

types::Image to_engine(const cv::Mat& bytes) {
  const cv::Mat whole = bytes.isContinuous() ? bytes : bytes.clone();
  const auto channels = static_cast<unsigned>(whole.channels());
  return {static_cast<unsigned>(whole.cols),
          static_cast<unsigned>(whole.rows),
          static_cast<unsigned>(whole.cols) * channels,
          channels,
          8,
          channels == 1 ? 0U : 1U,
          whole.data};
}

class EngineMethod : public Method {
 public:
  std::string name() const override { return "engine"; }

  void train(const ImageSet& set) override {
    telvar_msg::qv::segmentation::Dataset dataset;
    for (const std::string& category : set.categories) (*dataset.mutable_categories())[category];
    for (std::size_t i = 0; i < set.train.size(); ++i) {
      const std::string id = std::to_string(i);
      auto& sample = (*dataset.mutable_samples())[id];
      sample.set_image_id(id);
      for (const auto& [category, mask] : set.train[i].masks) {
        (*sample.mutable_category_masks())[category] = id + "/" + category;
      }
    }
    const auto image = [&](const std::string& id) {
      return to_engine(set.train[std::stoul(id)].image);
    };
    const auto mask = [&](const std::string& id) {
      const std::size_t slash = id.find('/');
      return to_engine(set.train[std::stoul(id)].masks.at(id.substr(slash + 1)));
    };
    const auto cache = seg::TrainCache::create(false, 0);
    const auto [result, artifact] =
        seg::train("", dataset.SerializeAsString(), "", image, mask, *cache, {});
    telvar_msg::qv::segmentation::TrainingResult parsed;
    parsed.ParseFromString(result);
    score_ = parsed.score();
    model_ = std::make_unique<seg::Model>(artifact, "", types::CpuDevice());
  }

  ProbabilityImages segment(const cv::Mat& bytes) override {
    const types::Image image = to_engine(bytes);
    const auto [result, images] =
        model_->process(types::ImageView(image), {1, 0, 0, 0, 1, 0}, {0, 0});
    ProbabilityImages masks;
    for (const auto& [category, found] : images) {
      const cv::Mat view(bytes.size(), CV_8U, const_cast<unsigned char*>(found.pixels.data()));
      masks[category] = view.clone();
    }
    return masks;
  }

  double score() const override { return score_; }

 private:
  double score_ = -1;
  std::unique_ptr<seg::Model> model_;
};

}  // namespace

std::unique_ptr<Method> make_engine_method() {
  return std::make_unique<EngineMethod>();
}

}  // namespace telvar::bench

#include "classifier/result.h"

namespace telvar::classifier {

telvar_msg::qv::classification::SampleResult sample_result(
    const std::vector<std::string>& categories, const float* scores) {
  telvar_msg::qv::classification::SampleResult result;
  fill_sample_result(categories, scores, result);
  return result;
}

void fill_sample_result(const std::vector<std::string>& categories, const float* scores,
                        telvar_msg::qv::classification::SampleResult& result) {
  for (std::size_t c = 0; c < categories.size(); ++c) {
    auto* score = result.add_scores();
    score->set_category_id(categories[c]);
    score->set_score(scores[c]);
  }
}

}  // namespace telvar::classifier

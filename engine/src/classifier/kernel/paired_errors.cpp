#include "classifier/kernel/paired_errors.h"

#include <cmath>
#include <cstddef>
#include <numeric>

namespace telvar::classifier {

double mean_of(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

bool differ(const std::vector<double>& mine, const std::vector<double>& others,
            double standard_errors) {
  const double difference = mean_of(mine) - mean_of(others);
  double squares = 0;
  for (std::size_t i = 0; i < mine.size(); ++i) {
    squares += std::pow(mine[i] - others[i] - difference, 2);
  }
  const auto count = static_cast<double>(mine.size());
  return std::abs(difference) > standard_errors * std::sqrt(squares) / count;
}

}  // namespace telvar::classifier

#include "core/refusals.h"

namespace telvar::core {

types::invalid_dataset too_many(const std::string& subject, std::size_t count, const char* what,
                                std::size_t limit) {
  return types::invalid_dataset(subject + " has " + std::to_string(count) + " " + what +
                                ", the limit is " + std::to_string(limit));
}

types::invalid_parameters no_parameters_known(const char* tool, const std::string& given) {
  return types::invalid_parameters(std::string("the ") + tool + " takes no run-time parameters, " +
                                   std::to_string(given.size()) + " bytes given");
}

}  // namespace telvar::core

#include "datasets/problems.h"

#include <algorithm>

#include "app/errors.h"
#include "app/text.h"

namespace telvar_host {

void Problems::throw_if_any() const {
  if (empty()) return;
  constexpr std::size_t kShown = 10;
  std::string text = "the data set has " + counted(list_.size(), "fault") + ": ";
  for (std::size_t i = 0; i < std::min(kShown, list_.size()); ++i) {
    text += (i == 0 ? "" : "; ") + list_[i].path + ": " + list_[i].why;
  }
  if (list_.size() > kShown) text += "; and more (telvar check lists all)";
  throw data_error(text);
}

}  // namespace telvar_host

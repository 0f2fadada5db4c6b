// What is wrong with a data set, file by file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace telvar_host {

struct Problem {
  std::string path;  // as the user can open it
  std::string kind;  // one of the kinds listed in docs/datasets.md, e.g. "unreadable"
  std::string why;
};

class Problems {
 public:
  void add(const std::string& path, const std::string& kind, const std::string& why) {
    list_.push_back({path, kind, why});
  }
  const std::vector<Problem>& list() const { return list_; }
  bool empty() const { return list_.empty(); }
  // Throws data_error naming the first few when there are any.
  void throw_if_any() const;

 private:
  std::vector<Problem> list_;
};

}  // namespace telvar_host

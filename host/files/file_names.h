// Categories as file names.
#pragma once

#include <map>
#include <set>
#include <string>

namespace telvar_host {

// A category as part of a file name: what file systems refuse becomes "_".
std::string file_name_of(const std::string& category);

// The same for a whole run: categories that become alike ("a/b", "a:b") get a number each.
class CategoryFileNames {
 public:
  const std::string& of(const std::string& category);

 private:
  std::map<std::string, std::string> names_;  // by category
  std::set<std::string> used_;
};

}  // namespace telvar_host

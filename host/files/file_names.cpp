#include "files/file_names.h"

namespace telvar_host {

std::string file_name_of(const std::string& category) {
  std::string name = category;
  for (char& c : name) {
    if (static_cast<unsigned char>(c) < 32 ||
        std::string("/\\:*?\"<>|").find(c) != std::string::npos) {
      c = '_';
    }
  }
  return name == "." || name == ".." || name.empty() ? "_" : name;
}

const std::string& CategoryFileNames::of(const std::string& category) {
  auto& name = names_[category];
  if (!name.empty()) return name;
  const auto plain = file_name_of(category);
  name = plain;
  for (int number = 2; !used_.insert(name).second; ++number)
    name = plain + "-" + std::to_string(number);
  return name;
}

}  // namespace telvar_host

// JSON as the program writes it: keys in the order they were given.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace telvar_host {

using Json = nlohmann::ordered_json;

// Bytes that are no UTF-8 become U+FFFD.
inline std::string dumped(const Json& json, int indent = 2) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace telvar_host

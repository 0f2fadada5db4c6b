#include "datasets/json_reader.h"

#include <algorithm>
#include <cmath>

namespace telvar_host {

nlohmann::json parse_json(const std::string& text, const std::string& name) {
  try {
    return nlohmann::json::parse(text);
  } catch (const nlohmann::json::exception& error) {
    std::string why = error.what();
    if (const auto end = why.find("] "); end != std::string::npos) why = why.substr(end + 2);
    throw data_error(name + ": is no valid JSON: " + why);
  }
}

std::string JsonValue::where() const {
  return place_.empty() ? name_ : name_ + ": " + place_;
}

HostError JsonValue::error(const std::string& why) const {
  return data_error(where() + ": " + why);
}

bool JsonValue::has(const std::string& key) const {
  return value_->is_object() && value_->contains(key);
}

JsonValue JsonValue::at(const std::string& key) const {
  if (!value_->is_object()) throw error("expected an object");
  const auto found = value_->find(key);
  if (found == value_->end()) throw error("'" + key + "' is missing");
  return {*found, name_, place_.empty() ? key : place_ + "." + key};
}

JsonValue JsonValue::at(std::size_t index) const {
  if (index >= size()) throw error("has no entry " + std::to_string(index));
  return {(*value_)[index], name_, place_ + "[" + std::to_string(index) + "]"};
}

std::size_t JsonValue::size() const {
  if (!value_->is_array()) throw error("expected an array");
  return value_->size();
}

double JsonValue::number() const {
  if (!value_->is_number()) throw error("expected a number");
  const double number = value_->get<double>();
  if (!std::isfinite(number)) throw error("is not finite");
  return number;
}

unsigned JsonValue::count() const {
  const double value = number();
  if (value < 0 || value > 4294967295.0 || value != std::floor(value)) {
    throw error("expected a whole number, 0 or above");
  }
  return static_cast<unsigned>(value);
}

std::string JsonValue::string() const {
  if (!value_->is_string()) throw error("expected a string");
  return value_->get<std::string>();
}

bool JsonValue::boolean() const {
  if (!value_->is_boolean()) throw error("expected true or false");
  return value_->get<bool>();
}

void JsonValue::allow_only(std::initializer_list<const char*> keys) const {
  if (!value_->is_object()) throw error("expected an object");
  for (const auto& entry : value_->items()) {
    const bool known =
        std::any_of(keys.begin(), keys.end(), [&](const char* key) { return entry.key() == key; });
    if (!known) throw error("unknown key '" + entry.key() + "'");
  }
}

}  // namespace telvar_host

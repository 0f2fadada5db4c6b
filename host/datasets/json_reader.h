// Reading JSON with errors that name the file and the place in it.
#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>

#include "app/errors.h"

namespace telvar_host {

// Throws data_error "NAME: ..." with the parser's place when the text is no JSON.
nlohmann::json parse_json(const std::string& text, const std::string& name);

// A value inside a document that must outlive it. Accessors throw data_error "NAME: images[2].file:
// ...".
class JsonValue {
 public:
  JsonValue(const nlohmann::json& value, std::string name, std::string place)
      : value_(&value), name_(std::move(name)), place_(std::move(place)) {}

  bool has(const std::string& key) const;
  JsonValue at(const std::string& key) const;
  JsonValue at(std::size_t index) const;
  std::size_t size() const;  // of an array
  double number() const;     // finite
  unsigned count() const;    // a whole number, 0 or above
  std::string string() const;
  bool boolean() const;
  // Unknown keys are mistakes in spelling more often than not.
  void allow_only(std::initializer_list<const char*> keys) const;

  const nlohmann::json& raw() const { return *value_; }
  std::string where() const;
  HostError error(const std::string& why) const;

 private:
  const nlohmann::json* value_;
  std::string name_;
  std::string place_;
};

}  // namespace telvar_host

// The TelvarWrappers library, loaded at run time as any host would.
#pragma once

#include <TelvarTypes/IWrapperFactory.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace telvar_host {

namespace Types = Orbalt::TelvarWrapper::Types;

// Keeps the library loaded; must outlive every tool made by its factory.
class Library {
 public:
  // Looks at `given` only, or, without it, beside the program, then in ../lib (and the platform's
  // folder in it), then under the system's rules for the plain name. Throws HostError kNoLibrary
  // listing what was tried and why each failed.
  explicit Library(const std::optional<std::filesystem::path>& given);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  Types::IWrapperFactory& factory() const { return *factory_; }
  const std::string& origin() const { return origin_; }

 private:
  void load(const std::filesystem::path& file);
  void find();
  bool try_load(const std::string& name, std::string& reasons);
  void make_factory();

  void* handle_ = nullptr;
  std::string origin_;
  std::shared_ptr<Types::IWrapperFactory> factory_;
};

}  // namespace telvar_host

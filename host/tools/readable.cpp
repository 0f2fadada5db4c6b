#include "tools/readable.h"

#include <algorithm>
#include <set>

#include "app/text.h"
#include "images/read_image.h"

namespace telvar_host {
namespace {

std::set<std::filesystem::path> files_of(const SegmenterItem& item) {
  std::set<std::filesystem::path> files = {item.file};
  for (const auto& mask : item.masks) files.insert(mask.second.file);
  return files;
}

template <typename Item>
std::set<std::filesystem::path> files_of(const Item& item) {
  return {item.file};
}

template <typename Items>
std::vector<std::string> removed(Items& items, Progress& progress) {
  std::vector<std::string> reasons;
  const auto is_bad = [&](const auto& item) {
    progress.step();
    for (const auto& file : files_of(item)) {
      try {
        read_image(file);
      } catch (const HostError& error) {
        reasons.emplace_back(error.what());
        return true;
      }
    }
    return false;
  };
  progress.start("looking for unreadable files", items.size());
  items.erase(std::remove_if(items.begin(), items.end(), is_bad), items.end());
  progress.finish();
  return reasons;
}

}  // namespace

std::vector<std::string> remove_unreadable(ClassifierData& data, Progress& progress) {
  return removed(data.items, progress);
}

std::vector<std::string> remove_unreadable(SegmenterData& data, Progress& progress) {
  return removed(data.items, progress);
}

std::vector<std::string> remove_unreadable(OcrData& data, Progress& progress) {
  return removed(data.items, progress);
}

HostError unreadable(const std::vector<std::string>& reasons, const std::string& advice) {
  if (reasons.size() == 1) return data_error(reasons.front());
  constexpr std::size_t kMost = 10;
  std::string text = counted(reasons.size(), "file") + " cannot be read" + advice;
  for (std::size_t i = 0; i < std::min(kMost, reasons.size()); ++i) text += "; " + reasons[i];
  return data_error(text + (reasons.size() > kMost ? "; ..." : ""));
}

}  // namespace telvar_host

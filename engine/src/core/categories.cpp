#include "core/categories.h"

#include <algorithm>
#include <iterator>

#include "core/refusals.h"

namespace telvar::core {

int index_of(const std::string& category, const Categories& categories) {
  const auto found = std::lower_bound(categories.begin(), categories.end(), category);
  return static_cast<int>(found - categories.begin());
}

std::vector<int> places_among(const Categories& from, const Categories& to, int absent) {
  std::vector<int> places;
  for (const std::string& category : from) {
    const bool there = std::binary_search(to.begin(), to.end(), category);
    places.push_back(there ? index_of(category, to) : absent);
  }
  return places;
}

Categories join_categories(const Categories& known, const Categories& listed, int most) {
  Categories joined;
  std::set_union(known.begin(), known.end(), listed.begin(), listed.end(),
                 std::back_inserter(joined));
  if (joined.size() > static_cast<std::size_t>(most)) {
    throw too_many("the data set, joined with the artifact,", joined.size(), "categories",
                   static_cast<std::size_t>(most));
  }
  return joined;
}

void write_categories(ByteWriter& writer, const Categories& categories) {
  writer.u32(static_cast<std::uint32_t>(categories.size()));
  for (const std::string& category : categories) writer.text(category);
}

Categories read_categories(ByteReader& reader, int least, int most, std::uint32_t max_bytes) {
  Categories categories(reader.count("categories", static_cast<std::uint32_t>(least),
                                     static_cast<std::uint32_t>(most)));
  for (std::size_t i = 0; i < categories.size(); ++i) {
    categories[i] = reader.text("category", max_bytes);
    if (categories[i].empty() || (i > 0 && categories[i] <= categories[i - 1])) {
      throw malformed_bytes("category " + std::to_string(i) + " is empty or out of order");
    }
  }
  return categories;
}

}  // namespace telvar::core

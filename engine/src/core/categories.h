#pragma once

// The categories that a tool tells apart: identifiers in ascending order of their bytes, so that an
// index says which one is meant.

#include <cstdint>
#include <string>
#include <vector>

#include "core/bytes.h"

namespace telvar::core {

using Categories = std::vector<std::string>;

/// The place of a category among ascending ones that hold it.
int index_of(const std::string& category, const Categories& categories);

/// Where categories that were known before stand among those of a further training, all ascending:
/// an index for each of `from`, `absent` for one that `to` lacks.
std::vector<int> places_among(const Categories& from, const Categories& to, int absent = -1);

/// The categories of an artifact (`known`) and those of a data set, each ascending, without
/// repetition. Throws invalid_dataset, naming number and limit, when they are more than `most`.
Categories join_categories(const Categories& known, const Categories& listed, int most);

/// A u32 count, then each category as text.
void write_categories(ByteWriter& writer, const Categories& categories);

/// Reads what write_categories wrote. Throws malformed_bytes unless there are least..most of them,
/// of 1..max_bytes bytes, in ascending order.
Categories read_categories(ByteReader& reader, int least, int most, std::uint32_t max_bytes);

}  // namespace telvar::core

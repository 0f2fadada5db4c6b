#include "core/categories.h"

#include <gmock/gmock.h>

#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

using testing::ElementsAre;

TEST(Categories, AreJoinedUpToTheLimit) {
  const Categories known{"a", "c"}, listed{"b", "c"};
  EXPECT_THAT(join_categories(known, listed, 3), ElementsAre("a", "b", "c"));
  EXPECT_THROW(join_categories(known, listed, 2), types::invalid_dataset);
  EXPECT_THAT(places_among(known, join_categories(known, listed, 3)), ElementsAre(0, 2));
  EXPECT_THAT(places_among(known, listed), ElementsAre(-1, 1));
}

TEST(Categories, AreReadAsWrittenOrRefused) {
  const auto read_back = [](const Categories& categories) {
    ByteWriter writer;
    write_categories(writer, categories);
    ByteReader reader(writer.bytes());
    return read_categories(reader, 1, 3, 4);
  };
  EXPECT_THAT(read_back({"a", "long", "z"}), ElementsAre("a", "long", "z"));
  for (const Categories& wrong :
       {Categories{}, {""}, {"b", "a"}, {"a", "a"}, {"longer"}, {"a", "b", "c", "d"}}) {
    EXPECT_THROW(read_back(wrong), malformed_bytes) << testing::PrintToString(wrong);
  }
}

}  // namespace
}  // namespace telvar::core

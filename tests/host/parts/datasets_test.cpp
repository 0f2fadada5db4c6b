// Labels, layouts and tables as they are read.

#include <gmock/gmock.h>

#include <filesystem>

#include "datasets/layout.h"
#include "datasets/ocr_labels.h"
#include "datasets/tables.h"

namespace telvar_host {
namespace {

using ::testing::ElementsAre;

TEST(Labels, AreWrittenAsTheyAreRead) {
  const std::string text =
      R"({"size": [18, 24], "images": [{"file": "a b.png", "roi": [1, 2, 3, 4, 5, 6], "partial": true,
          "characters": [{"x": 1.5, "y": 2, "category": "Ä"}], "text": ["Ä"]}]})";
  const auto once = labels_json(parse_labels_json(text, "l", ""), "");
  EXPECT_EQ(labels_json(parse_labels_json(once, "l", ""), ""), once);
  EXPECT_THAT(once, ::testing::HasSubstr("\"a b.png\""));
}

TEST(Layout, IdentifiersAreRelativeHoweverThePathIsSpelt) {
  namespace fs = std::filesystem;
  const fs::path root = "bilder";
  for (const fs::path& path :
       {root / "a.png", fs::absolute(root / "a.png"), root / "." / "b" / ".." / "a.png"}) {
    EXPECT_EQ(identifier(path, root), "a.png") << path;
    EXPECT_EQ(identifier(path, fs::absolute(root) / ""), "a.png") << path;
  }
  EXPECT_EQ(identifier("b/a.png", ""), "b/a.png");
}

TEST(Tables, CsvQuotes) {
  EXPECT_THAT(parse_csv("\xEF\xBB\xBF"
                        "a,\"b,\"\"c\"\"\n\"\r\n\r\nd,",
                        "t"),
              ElementsAre(ElementsAre("a", "b,\"c\"\n"), ElementsAre("d", "")));
  EXPECT_EQ(csv_field("a\"b"), "\"a\"\"b\"");
}

}  // namespace
}  // namespace telvar_host

// Hosts that fork, on the embedded engine through the loaded library.

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "contract/child.h"
#include "contract/kept_tools.h"

namespace {

using kept_tools::answer_of;
using kept_tools::library;
using kept_tools::new_tools;
using little_tools::Tools;

/// A static object of the host, destroyed when the process exits.
std::optional<Tools>& static_tools() {
  library();  // made before, so it goes after
  static std::optional<Tools> tools;
  return tools;
}

TEST(HostThatForks, HasChildrenThatUseAndDestroyItsTools) {
  Tools tools = new_tools();
  const std::string answer = answer_of(tools);
  const auto answers_alike = [&] { return answer_of(tools) == answer ? 0 : 1; };
  const auto destroys = [&] {
    tools = new_tools();
    return 0;
  };
  EXPECT_EQ(child::end_of(answers_alike), "ended with 0");
  EXPECT_EQ(child::end_of(destroys), "ended with 0");
  EXPECT_EQ(child::end_of([&] { return answers_alike() + destroys() + answers_alike(); }),
            "ended with 0");
  // A child of the child, too.
  EXPECT_EQ(child::end_of([&] { return child::end_of(answers_alike) == "ended with 0" ? 0 : 1; }),
            "ended with 0");
  EXPECT_EQ(answers_alike(), 0);
}

TEST(HostThatForks, HasChildrenThatExitWithAStaticTool) {
  static_tools().emplace(new_tools());
  answer_of(*static_tools());
  const auto exits = []() -> int { std::exit(7); };
  EXPECT_EQ(child::end_of(exits), "ended with 7");
  static_tools().reset();
}

}  // namespace

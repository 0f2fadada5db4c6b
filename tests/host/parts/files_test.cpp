// State files.

#include <gmock/gmock.h>

#include <filesystem>

#include "app/errors.h"
#include "app/text.h"
#include "files/platform.h"
#include "files/state_file.h"

namespace telvar_host {
namespace {

TEST(StateFileTest, EveryChangedByteIsNoticed) {
  StateFile state;
  state.tool = ToolKind::kOcr;
  state.size = {18.5f, 24};
  state.artifact = std::string("art\0fact", 8);
  state.train_cache = "cache";
  const auto bytes = serialised(state);
  const auto back = parse_state(bytes, "s");
  EXPECT_EQ(back.artifact, state.artifact);
  EXPECT_EQ(back.train_cache, state.train_cache);
  EXPECT_EQ(back.size.width, 18.5f);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const char bit : {'\x01', '\x80'}) {
      auto damaged = bytes;
      damaged[i] = static_cast<char>(damaged[i] ^ bit);
      EXPECT_THROW(parse_state(damaged, "s"), HostError) << i;
    }
    EXPECT_THROW(parse_state(bytes.substr(0, i), "s"), HostError) << i;
  }
}

TEST(StateFileTest, WhatCannotBeWrittenIsKeptElsewhere) {
  StateFile state;
  state.artifact = "an artifact that took hours";
  try {
    write_state_or_keep("/nowhere/at/all/reader.telvar", state, false);
    FAIL();
  } catch (const HostError& error) {
    const std::string text = error.what();
    EXPECT_NE(text.find("/nowhere/at/all: no such folder"), std::string::npos) << text;
    const auto from = text.find("the state is in ") + 16;
    const auto kept = path_from_utf8(text.substr(from, text.rfind(" instead") - from));
    EXPECT_EQ(read_state(kept).artifact, state.artifact);
    std::filesystem::remove(kept);
  }
}

}  // namespace
}  // namespace telvar_host

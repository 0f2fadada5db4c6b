#pragma once

#include <gmock/gmock.h>

#include <string>

namespace telvar::test {

/// Expects an exception of type Error with `text` in its own.
template <class Error, class Call>
void expect_error(const Call& call, const std::string& text) {
  try {
    call();
    ADD_FAILURE() << "no exception, expected: " << text;
  } catch (const Error& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr(text));
  } catch (const std::exception& error) {
    ADD_FAILURE() << "another exception than expected (" << text << "): " << error.what();
  }
}

}  // namespace telvar::test

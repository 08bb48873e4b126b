#include "terminal/error_line.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/full_terminal.h"

namespace flowscope {
namespace {

// What a terminal that does not block has no room for comes when it has.
TEST(ErrorLine, WaitsForRoomOnATerminalThatDoesNotBlock) {
  constexpr int Lines = 2000;
  std::string expected;
  for (int i = 0; i < Lines; ++i) expected += "flowscope: " + std::to_string(i) + "\r\n";
  const std::string seen = testsupport::readFromFullTerminal(expected.size(), [] {
    for (int i = 0; i < Lines; ++i) sayError(std::to_string(i));
  });
  EXPECT_TRUE(seen == expected) << seen.size() << " of " << expected.size() << " bytes";
}

}  // namespace
}  // namespace flowscope

#include "platform/device/port_name.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace device {
namespace {

TEST(IndexOfNumber, TakesNumbersWrittenTheShortestWay) {
  const struct {
    std::string digits;
    std::optional<std::uint16_t> index;
  } table[] = {
      {"1", 0},           {"2", 1},   {"10", 9},  {"65536", 65'535}, {"65537", {}},
      {"4294967297", {}}, {"", {}},   {"0", {}},  {"01", {}},        {"+1", {}},
      {"-1", {}},         {"1 ", {}}, {" 1", {}}, {"1a", {}},        {"99999999999", {}},
  };
  for (const auto& row : table) EXPECT_EQ(indexOfNumber(row.digits), row.index) << row.digits;
}

}  // namespace
}  // namespace device

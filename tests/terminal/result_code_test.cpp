#include "terminal/result_code.h"

#include <gtest/gtest.h>

#include <limits>
#include <string_view>
#include <vector>

namespace flowscope {
namespace {

TEST(ResultCode, EachCodeHasItsMessage) {
  struct Row {
    ResultCode code;
    std::string_view message;
  };
  const std::vector<Row> rows{
      {2, "ERROR: UnknownError"},
      {4, "ERROR: NotFound"},
      {5, "ERROR: OptionError"},
      {6, "ERROR: OpenFileError"},
      {7, "ERROR: ConnectError"},
      {8, "ERROR: OutOfMemory"},
      {9, "ERROR: FileExists"},
      {10, "ERROR: Bad Argument"},
      {0, "ERROR: unknownError"},
      {-1, "ERROR: unknownError"},
      {12, "ERROR: unknownError"},
      {std::numeric_limits<ResultCode>::max(), "ERROR: unknownError"},
      {std::numeric_limits<ResultCode>::min(), "ERROR: unknownError"},
  };
  for (const Row& row : rows) {
    const char* message = resultMessage(row.code);
    ASSERT_NE(message, nullptr) << row.code;
    EXPECT_EQ(row.message, message) << row.code;
  }
}

TEST(ResultCode, SuccessSilenceAndQuitHaveNoMessage) {
  for (const ResultCode code : {1, 3, 11}) EXPECT_EQ(resultMessage(code), nullptr) << code;
}

TEST(ResultCode, NamesHaveTheirValues) {
  const std::vector<ResultCode> named{ResultOk,          ResultUnknownError,  ResultSilent,       ResultNotFound,
                                      ResultOptionError, ResultOpenFileError, ResultConnectError, ResultOutOfMemory,
                                      ResultFileExists,  ResultBadArgument,   ResultQuit};
  EXPECT_EQ(named, (std::vector<ResultCode>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

}  // namespace
}  // namespace flowscope

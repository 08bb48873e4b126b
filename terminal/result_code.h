// The result codes of commands and their messages.
#pragma once

#include <cstdint>

namespace flowscope {

using ResultCode = std::int32_t;

inline constexpr ResultCode ResultOk = 1;
inline constexpr ResultCode ResultUnknownError = 2;
inline constexpr ResultCode ResultSilent = 3;  // nothing (more) to print
inline constexpr ResultCode ResultNotFound = 4;
inline constexpr ResultCode ResultOptionError = 5;
inline constexpr ResultCode ResultOpenFileError = 6;
inline constexpr ResultCode ResultConnectError = 7;
inline constexpr ResultCode ResultOutOfMemory = 8;
inline constexpr ResultCode ResultFileExists = 9;
inline constexpr ResultCode ResultBadArgument = 10;
inline constexpr ResultCode ResultQuit = 11;

// Returns the message of a code, without a line end; null for the codes that print nothing (1, 3 and 11).
const char* resultMessage(ResultCode code);

}  // namespace flowscope

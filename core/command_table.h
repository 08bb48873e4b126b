// The vocabulary of the shell: one row a command.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/arguments.h"
#include "core/command_options.h"
#include "terminal/result_code.h"

namespace flowscope {

class StatBase;

// Calls the operation of one command with words that have been checked; words are null when they were not given.
using CommandOperation = ResultCode (*)(StatBase& shell, Options options, const char* first, const char* second);

struct CommandRow {
  std::string_view name;
  std::uint32_t maximumArguments;
  Options allowedOptions;
  // Null for the commands that the dispatcher handles itself.
  CommandOperation operation;
};

inline constexpr std::size_t CommandCount = 31;

// The index that names no command.
inline constexpr std::size_t NoCommand = CommandCount;

// All commands. Positions are fixed: completion names commands by them.
extern const std::array<CommandRow, CommandCount> CommandTable;

// The index of the command for a finished word, which is its name and one trailing blank, and nothing else;
// NoCommand for any other text.
std::size_t findCommand(std::string_view word);

// The row whose name is word, or null. The empty name is nobody's.
const CommandRow* commandNamed(std::string_view word);

}  // namespace flowscope

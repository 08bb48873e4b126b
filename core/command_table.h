// The vocabulary of the shell: one row a command.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

#include "core/stat_base.h"
#include "terminal/result_code.h"
#include "topology/option_bits.h"

namespace flowscope {

// The positions of the commands in the command table. They are fixed.
enum class CommandIndex : std::uint8_t {
  Exit = 0,
  Tab = 1,
  Pwd = 2,
  Ls = 3,
  Cd = 4,
  Set = 5,
  SetPort = 6,
  Str = 7,
  Get = 8,
  Eu = 9,
  Du = 10,
  From = 11,
  To = 12,
  Cat = 13,
  Con = 14,
  Dis = 15,
  Load = 16,
  Save = 17,
  Rn = 18,
  Rm = 19,
  Mkdir = 20,
  CmdFrom = 21,
  Convert = 22,
  Quit = 23,
  Q = 24,
  End = 25,
  Terminate = 26,
  Bt = 27,
  History = 28,
  Help = 29,
  Nameless = 30,  // stands for any unknown word
};

// Calls the operation of one command with words that have been checked; words are null when they were not given.
using CommandOperation = ResultCode (*)(StatBase& shell, Options options, const char* first, const char* second);

// A CommandOperation: a member function of the shell, called with those of its arguments that it takes.
template <auto Member>
ResultCode callMember(StatBase& shell, [[maybe_unused]] Options options, const char* first,
                      [[maybe_unused]] const char* second) {
  using Function = decltype(Member);
  if constexpr (std::is_invocable_v<Function, StatBase&, Options, const char*, const char*>) {
    return (shell.*Member)(options, first, second);
  } else if constexpr (std::is_invocable_v<Function, StatBase&, Options, const char*>) {
    return (shell.*Member)(options, first);
  } else if constexpr (std::is_invocable_v<Function, StatBase&, const char*, const char*>) {
    return (shell.*Member)(first, second);
  } else {
    return (shell.*Member)(first);
  }
}

struct CommandRow {
  CommandIndex index;
  std::string_view name;
  std::uint32_t maximumArguments;
  Options allowedOptions;
  // nullopt for the commands that the dispatcher handles itself. Under UndefinedBehaviorSanitizer, g++ compares no
  // function with null at compile time.
  std::optional<CommandOperation> operation;
};

inline constexpr std::size_t CommandCount = 31;

// The index that names no command.
inline constexpr std::size_t NoCommand = CommandCount;

// All commands, by their positions.
inline constexpr std::array<CommandRow, CommandCount> CommandTable = {{
    {CommandIndex::Exit, "exit", 0, NoOptions, std::nullopt},
    {CommandIndex::Tab, "tab", 2, NoOptions, std::nullopt},
    {CommandIndex::Pwd, "pwd", 0, NoOptions, std::nullopt},
    {CommandIndex::Ls, "ls", 1, AllOptions, callMember<&StatBase::onLs>},
    {CommandIndex::Cd, "cd", 1, NoOptions, callMember<&StatBase::onCd>},
    {CommandIndex::Set, "set", 2, OptionL | OptionC, callMember<&StatBase::onSet>},
    {CommandIndex::SetPort, "setport", 3, NoOptions, std::nullopt},
    {CommandIndex::Str, "str", 2, NoOptions, callMember<&StatBase::onStr>},
    {CommandIndex::Get, "get", 1, NoOptions, callMember<&StatBase::onGet>},
    {CommandIndex::Eu, "eu", 1, OptionR | OptionM | OptionL, callMember<&StatBase::onEu>},
    {CommandIndex::Du, "du", 1, OptionR, callMember<&StatBase::onDu>},
    {CommandIndex::From, "from", 2, NoOptions, callMember<&StatBase::onFrom>},
    {CommandIndex::To, "to", 2, NoOptions, callMember<&StatBase::onTo>},
    {CommandIndex::Cat, "cat", 1, OptionL, callMember<&StatBase::onCat>},
    {CommandIndex::Con, "con", 2, NoOptions, callMember<&StatBase::onCon>},
    {CommandIndex::Dis, "dis", 2, NoOptions, callMember<&StatBase::onDis>},
    {CommandIndex::Load, "load", 1, NoOptions, callMember<&StatBase::onLoad>},
    {CommandIndex::Save, "save", 1, NoOptions, callMember<&StatBase::onSave>},
    {CommandIndex::Rn, "rn", 2, NoOptions, callMember<&StatBase::onRn>},
    {CommandIndex::Rm, "rm", 1, NoOptions, callMember<&StatBase::onRm>},
    {CommandIndex::Mkdir, "mkdir", 1, NoOptions, callMember<&StatBase::onMkdir>},
    {CommandIndex::CmdFrom, "cmdfrom", 1, NoOptions, std::nullopt},
    {CommandIndex::Convert, "convert", 2, NoOptions, callMember<&StatBase::onConvert>},
    {CommandIndex::Quit, "quit", 0, NoOptions, std::nullopt},
    {CommandIndex::Q, "q", 0, NoOptions, std::nullopt},
    {CommandIndex::End, "end", 0, NoOptions, std::nullopt},
    {CommandIndex::Terminate, "terminate", 0, NoOptions, std::nullopt},
    {CommandIndex::Bt, "bt", 0, AllOptions, callMember<&StatBase::onBt>},
    {CommandIndex::History, "history", 1, NoOptions, std::nullopt},
    {CommandIndex::Help, "help", 0, NoOptions, std::nullopt},
    {CommandIndex::Nameless, "", 2, NoOptions, std::nullopt},
}};

constexpr const CommandRow& rowOf(CommandIndex index) { return CommandTable.at(static_cast<std::size_t>(index)); }

static_assert(std::ranges::all_of(CommandTable, [](const CommandRow& row) { return &rowOf(row.index) == &row; }),
              "each row stands at its position");

// The index of the command for a finished word, which is its name and one trailing blank, and nothing else;
// NoCommand for any other text.
std::size_t findCommand(std::string_view word);

// The row whose name is word, or null. Returns null for an empty word.
const CommandRow* commandNamed(std::string_view word);

}  // namespace flowscope

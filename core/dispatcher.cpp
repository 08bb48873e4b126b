#include "core/dispatcher.h"

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "core/arguments.h"
#include "core/command_table.h"
#include "core/line_executor.h"
#include "core/stat_base.h"
#include "core/tokenizer.h"
#include "terminal/waiting_stream.h"

namespace flowscope {

namespace {

// One command being run: its text, and the words that are not taken yet.
struct Command {
  StatBase& shell;
  std::string_view text;
  std::string word;
  ArgumentWords arguments;
};

ResultCode report(StatBase& shell, ResultCode code) {
  shell.output().reportResult(code);
  return code;
}

// For commands that take no argument words: prints the usage error here. Then the handler returns ResultSilent, so the
// caller does not print it again.
bool refusesArguments(Command& command) {
  if (command.arguments.empty()) return false;
  report(command.shell, ResultOptionError);
  return true;
}

// Checks the words against the command's limits; prints what is wrong.
ResultCode takeOptions(Command& command, const CommandRow& row, Options& options) {
  return report(command.shell, checkArguments(command.arguments, options, row.maximumArguments, row.allowedOptions));
}

std::optional<std::string> takeArgument(Command& command) {
  std::string text;
  if (!nextArgument(command.arguments, text)) return std::nullopt;
  return text;
}

const char* textOrNull(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

ResultCode quit(Command& command, const CommandRow&) {
  if (refusesArguments(command)) return ResultSilent;
  command.shell.onExit();
  command.shell.setRunning(false);
  return ResultQuit;
}

// A finished word carries its trailing blank, so that completion can tell "cd" from "cd ".
ResultCode complete(Command& command, const CommandRow&) {
  auto word = takeArgument(command);
  const char* argument = command.arguments.empty() ? nullptr : command.arguments.back().c_str();
  if (word && command.text.ends_with(' ')) {
    *word += ' ';
    argument = nullptr;
  }
  return command.shell.onTab(textOrNull(word), argument);
}

ResultCode printWorkingDirectory(Command& command, const CommandRow&) {
  if (refusesArguments(command)) return ResultSilent;
  std::string text;
  for (const auto& element : command.shell.path()) text.append("/").append(element);
  if (text.empty()) text = "/";
  const bool written = command.shell.output().writeLineFresh({0, ColourDefault, text.c_str()}, true, false);
  return written ? ResultOk : ResultUnknownError;
}

ResultCode runOperation(Command& command, const CommandRow& row) {
  Options options = NoOptions;
  if (const auto code = takeOptions(command, row, options); code != ResultOk) return code;
  const auto first = takeArgument(command);
  const auto second = takeArgument(command);
  return report(command.shell, (*row.operation)(command.shell, options, textOrNull(first), textOrNull(second)));
}

ResultCode setPorts(Command& command, const CommandRow& row) {
  Options options = NoOptions;
  if (const auto code = takeOptions(command, row, options); code != ResultOk) return code;
  std::array<std::string, 3> settings;
  for (auto& setting : settings) {
    if (!nextArgument(command.arguments, setting)) return report(command.shell, ResultOptionError);
  }
  command.shell.setPortSettings(std::move(settings));
  return ResultSilent;
}

ResultCode runNamedScript(Command& command, const CommandRow& row) {
  Options options = NoOptions;
  if (const auto code = takeOptions(command, row, options); code != ResultOk) return code;
  const auto name = takeArgument(command);
  return report(command.shell, name ? runScript(command.shell, *name) : ResultOpenFileError);
}

ResultCode listHistory(Command& command, const CommandRow& row) {
  Options options = NoOptions;
  if (const auto code = takeOptions(command, row, options); code != ResultOk) return code;
  // Not paged; line counters continue.
  int number = 0;
  for (const auto& entry : command.shell.lineEditor().history().entries()) {
    const std::string line = std::to_string(number) + ' ' + entry;
    if (!command.shell.output().writeLineFresh({0, ColourDefault, line.c_str()}, false, false)) break;
    ++number;
  }
  return ResultOk;
}

ResultCode runEnd(Command& command, const CommandRow&) {
  if (refusesArguments(command)) return ResultSilent;
  return report(command.shell, command.shell.onEnd());
}

ResultCode runTerminate(Command& command, const CommandRow&) {
  if (refusesArguments(command)) return ResultSilent;
  return report(command.shell, command.shell.onTerminate());
}

ResultCode showHelp(Command& command, const CommandRow&) {
  return command.arguments.empty() ? report(command.shell, command.shell.onHelp()) : ResultSilent;
}

ResultCode runOther(Command& command, const CommandRow&) {
  if (command.text.starts_with('$')) {
    command.shell.system().run(std::string(command.text.substr(1)));
    return ResultSilent;
  }
  const auto first = takeArgument(command);
  if (!first) return report(command.shell, ResultOptionError);
  const auto second = takeArgument(command);
  return report(command.shell, command.shell.onOther(command.word.c_str(), first->c_str(), textOrNull(second)));
}

using Handler = ResultCode (*)(Command& command, const CommandRow& row);

// nullopt for a command that has an operation.
constexpr std::optional<Handler> handlerOf(CommandIndex index) {
  switch (index) {
    case CommandIndex::Exit:
    case CommandIndex::Quit:
    case CommandIndex::Q:
      return quit;
    case CommandIndex::Tab:
      return complete;
    case CommandIndex::Pwd:
      return printWorkingDirectory;
    case CommandIndex::SetPort:
      return setPorts;
    case CommandIndex::CmdFrom:
      return runNamedScript;
    case CommandIndex::End:
      return runEnd;
    case CommandIndex::Terminate:
      return runTerminate;
    case CommandIndex::History:
      return listHistory;
    case CommandIndex::Help:
      return showHelp;
    case CommandIndex::Nameless:
      return runOther;
    default:
      return std::nullopt;
  }
}

static_assert(std::ranges::all_of(CommandTable,
                                  [](const CommandRow& row) {
                                    return handlerOf(row.index).has_value() != row.operation.has_value();
                                  }),
              "each command either has an operation or is handled here");

ResultCode runRow(Command& command) {
  const CommandRow* const named = commandNamed(command.word);
  const CommandRow& row = named != nullptr ? *named : rowOf(CommandIndex::Nameless);
  return handlerOf(row.index).value_or(runOperation)(command, row);
}

ResultCode run(StatBase& shell, std::string_view command) {
  try {
    Command parsed{shell, command, {}, splitWords(command)};
    if (!nextArgument(parsed.arguments, parsed.word)) return ResultSilent;
    return runRow(parsed);
  } catch (const std::out_of_range&) {
    return report(shell, ResultBadArgument);
  } catch (const std::bad_alloc&) {
    return report(shell, ResultOutOfMemory);
  } catch (...) {
    return report(shell, ResultUnknownError);
  }
}

}  // namespace

ResultCode dispatch(StatBase& shell, std::string_view command) {
  const ResultCode code = run(shell, command);
  // Lines of the library on standard error come behind the text of the commands before.
  if (!shell.isQuiet()) flushStream(shell.output().stream());
  return code;
}

}  // namespace flowscope

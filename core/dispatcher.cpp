#include "core/dispatcher.h"

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

namespace flowscope {

namespace {

// One command on its way: the text as it came, and the words that are not taken yet.
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

// For commands that take no argument words at all: an error of use is reported here and answered as silence, so
// that nobody reports it again.
bool refusesArguments(Command& command) {
  if (command.arguments.empty()) return false;
  report(command.shell, ResultOptionError);
  return true;
}

// Checks the words against the command's limits; what is wrong is reported here.
ResultCode takeOptions(Command& command, const CommandRow& row, Options& options) {
  return report(command.shell, checkArguments(command.arguments, options, row.maximumArguments, row.allowedOptions));
}

std::optional<std::string> takeArgument(Command& command) {
  std::string text;
  if (!nextArgument(command.arguments, text)) return std::nullopt;
  return text;
}

const char* textOrNull(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

ResultCode quit(Command& command) {
  if (refusesArguments(command)) return ResultSilent;
  command.shell.onExit();
  command.shell.setRunning(false);
  return ResultQuit;
}

// A finished word carries its trailing blank, so that completion can tell "cd" from "cd ".
ResultCode complete(Command& command) {
  auto word = takeArgument(command);
  const char* argument = command.arguments.empty() ? nullptr : command.arguments.back().c_str();
  if (word && command.text.ends_with(' ')) {
    *word += ' ';
    argument = nullptr;
  }
  return command.shell.onTab(textOrNull(word), argument);
}

ResultCode printWorkingDirectory(Command& command) {
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
  return report(command.shell, row.operation(command.shell, options, textOrNull(first), textOrNull(second)));
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
  // Unpaged and counted on from what was printed before: the command takes no option that asks for anything else.
  int number = 0;
  for (const auto& entry : command.shell.lineEditor().history().entries()) {
    const std::string line = std::to_string(number) + ' ' + entry;
    if (!command.shell.output().writeLineFresh({0, ColourDefault, line.c_str()}, false, false)) break;
    ++number;
  }
  return ResultOk;
}

ResultCode runOther(Command& command) {
  if (command.text.starts_with('$')) {
    command.shell.system().run(std::string(command.text.substr(1)));
    return ResultSilent;
  }
  const auto first = takeArgument(command);
  if (!first) return report(command.shell, ResultOptionError);
  const auto second = takeArgument(command);
  return report(command.shell, command.shell.onOther(command.word.c_str(), first->c_str(), textOrNull(second)));
}

ResultCode run(Command& command) {
  const CommandRow* const row = commandNamed(command.word);
  if (row == nullptr) return runOther(command);
  if (row->operation != nullptr) return runOperation(command, *row);
  if (row->name == "exit" || row->name == "quit" || row->name == "q") return quit(command);
  if (row->name == "tab") return complete(command);
  if (row->name == "pwd") return printWorkingDirectory(command);
  if (row->name == "setport") return setPorts(command, *row);
  if (row->name == "cmdfrom") return runNamedScript(command, *row);
  if (row->name == "history") return listHistory(command, *row);
  if (row->name == "help") {
    return command.arguments.empty() ? report(command.shell, command.shell.onHelp()) : ResultSilent;
  }
  if (refusesArguments(command)) return ResultSilent;
  return report(command.shell, row->name == "end" ? command.shell.onEnd() : command.shell.onTerminate());
}

}  // namespace

ResultCode dispatch(StatBase& shell, std::string_view command) {
  try {
    Command parsed{shell, command, {}, splitWords(command)};
    if (!nextArgument(parsed.arguments, parsed.word)) return ResultSilent;
    return run(parsed);
  } catch (const std::out_of_range&) {
    return report(shell, ResultBadArgument);
  } catch (const std::bad_alloc&) {
    return report(shell, ResultOutOfMemory);
  } catch (...) {
    return report(shell, ResultUnknownError);
  }
}

}  // namespace flowscope

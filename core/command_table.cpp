#include "core/command_table.h"

#include <algorithm>

#include "core/stat_base.h"

namespace flowscope {

namespace {
using Shell = StatBase;
using Word = const char*;
}  // namespace

const std::array<CommandRow, CommandCount> CommandTable = {{
    {"exit", 0, NoOptions, nullptr},
    {"tab", 2, NoOptions, nullptr},
    {"pwd", 0, NoOptions, nullptr},
    {"ls", 1, AllOptions, [](Shell& shell, Options options, Word a, Word) { return shell.onLs(options, a); }},
    {"cd", 1, NoOptions, [](Shell& shell, Options, Word a, Word) { return shell.onCd(a); }},
    {"set", 2, OptionL | OptionC,
     [](Shell& shell, Options options, Word a, Word b) { return shell.onSet(options, a, b); }},
    {"setport", 3, NoOptions, nullptr},
    {"str", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onStr(a, b); }},
    {"get", 1, NoOptions, [](Shell& shell, Options, Word a, Word) { return shell.onGet(a); }},
    {"eu", 1, OptionR | OptionM | OptionL,
     [](Shell& shell, Options options, Word a, Word) { return shell.onEu(options, a); }},
    {"du", 1, OptionR, [](Shell& shell, Options, Word a, Word) { return shell.onDu(a); }},
    {"from", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onFrom(a, b); }},
    {"to", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onTo(a, b); }},
    {"cat", 1, OptionL, [](Shell& shell, Options options, Word a, Word) { return shell.onCat(options, a); }},
    {"con", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onCon(a, b); }},
    {"dis", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onDis(a, b); }},
    {"load", 1, NoOptions, [](Shell& shell, Options, Word a, Word) { return shell.onLoad(a); }},
    {"save", 1, NoOptions, [](Shell& shell, Options, Word a, Word) { return shell.onSave(a); }},
    {"rn", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onRn(a, b); }},
    {"rm", 1, NoOptions, [](Shell& shell, Options, Word a, Word) { return shell.onRm(a); }},
    {"mkdir", 1, NoOptions, [](Shell& shell, Options, Word a, Word) { return shell.onMkdir(a); }},
    {"cmdfrom", 1, NoOptions, nullptr},
    {"convert", 2, NoOptions, [](Shell& shell, Options, Word a, Word b) { return shell.onConvert(a, b); }},
    {"quit", 0, NoOptions, nullptr},
    {"q", 0, NoOptions, nullptr},
    {"end", 0, NoOptions, nullptr},
    {"terminate", 0, NoOptions, nullptr},
    {"bt", 0, AllOptions, [](Shell& shell, Options options, Word, Word) { return shell.onBt(options, nullptr); }},
    {"history", 1, NoOptions, nullptr},
    {"help", 0, NoOptions, nullptr},
    {"", 2, NoOptions, nullptr},
}};

std::size_t findCommand(std::string_view word) {
  const auto* const found = std::find_if(CommandTable.begin(), CommandTable.end(), [&](const CommandRow& row) {
    return word.size() == row.name.size() + 1 && word.starts_with(row.name) && word.back() == ' ';
  });
  return static_cast<std::size_t>(found - CommandTable.begin());
}

const CommandRow* commandNamed(std::string_view word) {
  if (word.empty()) return nullptr;
  const auto* const found =
      std::find_if(CommandTable.begin(), CommandTable.end(), [&](const CommandRow& row) { return row.name == word; });
  return found == CommandTable.end() ? nullptr : found;
}

}  // namespace flowscope

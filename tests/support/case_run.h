// A running case: what is set up, what is started, and what each step does.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/case_runner.h"
#include "tests/support/case_script.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/terminal_case.h"

namespace testsupport {

class CaseRun {
 public:
  explicit CaseRun(const CaseSettings& settings) : settings_(settings), environment_(settings.environment) {}

  std::optional<CaseProblem> run(const std::vector<Step>& steps);

 private:
  enum class Kind { SetUp, Terminal, Any };
  enum class Argument { None, Needed, Possible };
  enum class Block { None, Needed };
  using Handler = Failure (CaseRun::*)(const Step&);

  // One word of the language.
  struct Word {
    std::string_view word;
    Kind kind;
    Argument argument;
    Block block;
    Handler handler;
  };

  static const Word* find(std::string_view word);
  static Failure checkForm(const Step& step);
  Failure perform(const Step& step);
  Failure atEnd();
  Failure startTerminal();
  Failure unmentionedOutput();
  Command command(std::vector<std::string> arguments) const;

  // Set-up.
  Failure size(const Step& step);
  Failure env(const Step& step);
  Failure unset(const Step& step);
  Failure program(const Step& step);
  Failure args(const Step& step);
  Failure input(const Step& step);
  Failure file(const Step& step);
  Failure hex(const Step& step);
  Failure standardInput(const Step& step);

  // With a terminal.
  Failure start(const Step& step);
  Failure type(const Step& step);
  Failure wait(const Step& step);
  Failure prompt(const Step& step);
  Failure screen(const Step& step);
  Failure transcript(const Step& step);
  Failure bytes(const Step& step);
  Failure cursor(const Step& step);
  Failure attr(const Step& step);
  Failure resize(const Step& step);
  Failure signal(const Step& step);
  Failure eof(const Step& step);
  Failure hangup(const Step& step);
  Failure termiosStep(const Step& step);

  // Without a terminal, and for both.
  Failure runStep(const Step& step);
  Failure standardOutput(const Step& step);
  Failure standardError(const Step& step);
  Failure exit(const Step& step);
  Failure content(const Step& step);

  const CaseSettings& settings_;
  ScratchFolder scratch_;
  std::map<std::string, std::string> environment_;
  std::string program_;
  std::vector<std::string> arguments_;
  WindowSize size_;
  PseudoTerminal::Input input_ = PseudoTerminal::Input::Terminal;
  std::string standardInput_;
  std::unique_ptr<TerminalCase> terminal_;
  std::optional<ProcessResult> result_;
  bool exitSeen_ = false;
};

}  // namespace testsupport

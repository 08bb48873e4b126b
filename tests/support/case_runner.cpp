#include "tests/support/case_runner.h"

#include <array>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "tests/support/case_run.h"

namespace testsupport {
namespace {

constexpr Failure Done = std::nullopt;

}  // namespace

const CaseRun::Word* CaseRun::find(std::string_view word) {
  using enum Kind;
  using R = CaseRun;
  static constexpr std::array<Word, 28> Words{{
      {"size", SetUp, Argument::Needed, Block::None, &R::size},
      {"env", SetUp, Argument::Needed, Block::None, &R::env},
      {"unset", SetUp, Argument::Needed, Block::None, &R::unset},
      {"program", SetUp, Argument::Needed, Block::None, &R::program},
      {"args", SetUp, Argument::Needed, Block::None, &R::args},
      {"input", SetUp, Argument::Needed, Block::None, &R::input},
      {"file", SetUp, Argument::Needed, Block::Needed, &R::file},
      {"hex", SetUp, Argument::Needed, Block::Needed, &R::hex},
      {"stdin", SetUp, Argument::None, Block::Needed, &R::standardInput},
      {"start", Terminal, Argument::None, Block::None, &R::start},
      {"type", Terminal, Argument::Needed, Block::None, &R::type},
      {"wait", Terminal, Argument::Needed, Block::None, &R::wait},
      {"prompt", Terminal, Argument::Needed, Block::None, &R::prompt},
      {"screen", Terminal, Argument::None, Block::Needed, &R::screen},
      {"transcript", Terminal, Argument::None, Block::Needed, &R::transcript},
      {"bytes", Terminal, Argument::None, Block::Needed, &R::bytes},
      {"cursor", Terminal, Argument::Needed, Block::None, &R::cursor},
      {"attr", Terminal, Argument::Needed, Block::None, &R::attr},
      {"resize", Terminal, Argument::Needed, Block::None, &R::resize},
      {"signal", Terminal, Argument::Needed, Block::None, &R::signal},
      {"eof", Terminal, Argument::None, Block::None, &R::eof},
      {"hangup", Terminal, Argument::None, Block::None, &R::hangup},
      {"termios", Terminal, Argument::Needed, Block::None, &R::termiosStep},
      {"run", Any, Argument::Possible, Block::None, &R::runStep},
      {"stdout", Any, Argument::None, Block::Needed, &R::standardOutput},
      {"stderr", Any, Argument::None, Block::Needed, &R::standardError},
      {"exit", Any, Argument::Needed, Block::None, &R::exit},
      {"content", Any, Argument::Needed, Block::Needed, &R::content},
  }};
  for (const Word& known : Words) {
    if (known.word == word) {
      return &known;
    }
  }
  return nullptr;
}

Failure CaseRun::checkForm(const Step& step) {
  const Word* word = find(step.word);
  if (word == nullptr) {
    return "no such step: " + step.word;
  }
  if (word->argument == Argument::Needed && step.argument.empty()) {
    return step.word + " needs something behind it";
  }
  if (word->argument == Argument::None && !step.argument.empty()) {
    return step.word + " stands alone on its line";
  }
  if (word->block == Block::Needed && !step.block.has_value()) {
    return step.word + " needs indented lines below it";
  }
  if (word->block == Block::None && step.block.has_value()) {
    return step.word + " has no indented lines below it";
  }
  return Done;
}

std::optional<CaseProblem> CaseRun::run(const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    if (Failure failure = checkForm(step)) {
      return CaseProblem{step.line, std::move(*failure)};
    }
  }
  for (const Step& step : steps) {
    if (Failure failure = perform(step)) {
      return CaseProblem{step.line, std::move(*failure)};
    }
  }
  if (Failure failure = atEnd()) {
    return CaseProblem{steps.empty() ? 0 : steps.back().line, std::move(*failure)};
  }
  return std::nullopt;
}

Failure CaseRun::perform(const Step& step) {
  const Word& word = *find(step.word);
  try {
    if (word.kind == Kind::SetUp && terminal_) {
      return step.word + " comes before everything that happens on the terminal";
    }
    if (word.kind == Kind::Terminal) {
      if (Failure failure = startTerminal()) {
        return failure;
      }
    }
    return (this->*word.handler)(step);
  } catch (const std::system_error& error) {
    return error.what();
  }
}

Failure CaseRun::atEnd() {
  if (!terminal_ && !result_) {
    return "the script runs nothing";
  }
  if (!exitSeen_) {
    return "the script does not say how the program ends (exit)";
  }
  return unmentionedOutput();
}

std::optional<CaseProblem> runCase(std::string_view script, const CaseSettings& settings) {
  const auto parsed = parseCaseScript(script);
  if (const auto* problem = std::get_if<CaseProblem>(&parsed)) {
    return *problem;
  }
  return CaseRun(settings).run(std::get<std::vector<Step>>(parsed));
}

std::map<std::string, std::string> caseEnvironment(const std::string& folder) {
  const char* path = std::getenv("PATH");
  std::map<std::string, std::string> environment{{"PATH", folder + ":" + (path == nullptr ? "/usr/bin:/bin" : path)},
                                                 {"TERM", "xterm"},
                                                 {"LC_ALL", "C"},
                                                 {"EVTSRV_ENDPOINT", "embedded:"}};
  for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name)) {
      environment[name] = value;
    }
  }
  return environment;
}

}  // namespace testsupport

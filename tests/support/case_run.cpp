#include "tests/support/case_run.h"

#include <fstream>
#include <iterator>
#include <utility>

#include "tests/support/case_arguments.h"
#include "tests/support/escapes.h"
#include "tests/support/keys.h"
#include "tests/support/wildcard.h"

namespace testsupport {
namespace {

constexpr Failure Done = std::nullopt;

// Compares one output of the last run and clears it, so that it counts as mentioned.
Failure compareOutput(const Step& step, std::string& actual) {
  const auto expected = blockText(*step.block);
  if (!expected) {
    return "an unknown escape";
  }
  if (!matchesText(*expected, actual)) {
    return step.word + " differs\nexpected: " + escape(*expected) + "\nwritten:  " + escape(actual);
  }
  actual.clear();
  return Done;
}

}  // namespace

Failure CaseRun::startTerminal() {
  if (result_) {
    return "a script either uses the terminal or runs programs without one (run)";
  }
  if (!terminal_) {
    terminal_ = std::make_unique<TerminalCase>(command(arguments_), size_, input_, settings_.patience);
  }
  return Done;
}

// Reports output of a run that no step has checked.
Failure CaseRun::unmentionedOutput() {
  if (result_ && !(result_->standardOutput.empty() && result_->standardError.empty())) {
    return "the script does not mention all that was written\nstandard output: " + escape(result_->standardOutput) +
           "\nstandard error:  " + escape(result_->standardError);
  }
  return Done;
}

Command CaseRun::command(std::vector<std::string> arguments) const {
  return {program_.empty() ? settings_.program : program_, std::move(arguments), environment_,
          scratch_.path().string()};
}

Failure CaseRun::size(const Step& step) {
  const auto size = windowSize(step.argument);
  if (!size) {
    return "a size is COLUMNSxROWS";
  }
  size_ = *size;
  return Done;
}

Failure CaseRun::env(const Step& step) {
  const std::size_t end = step.argument.find(' ');
  if (end == std::string::npos) {
    return "env needs a name and a value";
  }
  environment_[step.argument.substr(0, end)] = step.argument.substr(end + 1);
  return Done;
}

Failure CaseRun::unset(const Step& step) {
  environment_.erase(step.argument);
  return Done;
}

Failure CaseRun::program(const Step& step) {
  program_ = step.argument;
  return Done;
}

Failure CaseRun::args(const Step& step) {
  auto words = splitWords(step.argument);
  if (!words) {
    return "a quote without its partner";
  }
  arguments_ = std::move(*words);
  return Done;
}

Failure CaseRun::input(const Step& step) {
  if (step.argument != "terminal" && step.argument != "pipe") {
    return "an input is terminal or pipe";
  }
  input_ = step.argument == "pipe" ? PseudoTerminal::Input::Pipe : PseudoTerminal::Input::Terminal;
  return Done;
}

Failure CaseRun::file(const Step& step) {
  const auto text = blockText(*step.block);
  if (!text) {
    return "an unknown escape";
  }
  scratch_.write(step.argument, *text);
  return Done;
}

Failure CaseRun::hex(const Step& step) {
  const auto bytes = hexBytes(*step.block);
  if (!bytes) {
    return "bytes are pairs of hexadecimal digits";
  }
  scratch_.write(step.argument, *bytes);
  return Done;
}

Failure CaseRun::standardInput(const Step& step) {
  auto text = blockText(*step.block);
  if (!text) {
    return "an unknown escape";
  }
  standardInput_ = std::move(*text);
  return Done;
}

Failure CaseRun::start(const Step&) { return Done; }

Failure CaseRun::type(const Step& step) {
  const auto bytes = keyBytes(step.argument);
  return bytes ? terminal_->type(*bytes) : Failure("an unknown key");
}

Failure CaseRun::wait(const Step& step) { return terminal_->waitForText(step.argument); }

Failure CaseRun::prompt(const Step& step) { return terminal_->waitForPrompt(step.argument); }

Failure CaseRun::screen(const Step& step) { return terminal_->waitForScreen(*step.block); }

Failure CaseRun::transcript(const Step& step) { return terminal_->waitForTranscript(*step.block); }

Failure CaseRun::bytes(const Step& step) {
  const auto pattern = blockBytes(*step.block);
  return pattern ? terminal_->waitForBytes(*pattern) : Failure("an unknown escape");
}

Failure CaseRun::cursor(const Step& step) {
  const auto words = placedWords(step.argument);
  return words && words->rest.empty() ? terminal_->waitForCursor(words->place)
                                      : Failure("cursor needs a row and a column");
}

Failure CaseRun::attr(const Step& step) {
  const auto words = placedWords(step.argument);
  const auto expected = words ? cellStyle(words->rest) : std::nullopt;
  if (!expected) {
    return "attr needs a row, a column and a style";
  }
  if (words->place.row > size_.rows || words->place.column > size_.columns) {
    return "that place is not on the screen";
  }
  return terminal_->waitForStyle(words->place, *expected);
}

Failure CaseRun::resize(const Step& step) {
  const auto size = windowSize(step.argument);
  if (!size) {
    return "a size is COLUMNSxROWS";
  }
  size_ = *size;
  return terminal_->resize(*size);
}

Failure CaseRun::signal(const Step& step) {
  const auto number = signalNumber(step.argument);
  return number ? terminal_->signal(*number) : Failure("an unknown signal");
}

Failure CaseRun::eof(const Step&) {
  return input_ == PseudoTerminal::Input::Pipe ? terminal_->closeInput() : Failure("eof needs \"input pipe\"");
}

Failure CaseRun::hangup(const Step&) { return terminal_->hangUp(); }

Failure CaseRun::termiosStep(const Step& step) {
  if (step.argument == "raw") {
    return terminal_->waitForRawMode();
  }
  return step.argument == "restored" ? terminal_->waitForRestoredMode() : Failure("termios is raw or restored");
}

Failure CaseRun::runStep(const Step& step) {
  if (terminal_) {
    return "a script either uses the terminal or runs programs without one (run)";
  }
  if (result_ && !exitSeen_) {
    return "the script does not say how the program before ends (exit)";
  }
  if (Failure failure = unmentionedOutput()) {
    return failure;
  }
  auto words = splitWords(step.argument);
  if (!words) {
    return "a quote without its partner";
  }
  result_ = runProcess(command(std::move(*words)), standardInput_, Deadline(settings_.patience));
  exitSeen_ = false;
  return result_->status ? Done
                         : Failure("the program has not ended\nstandard output: " + escape(result_->standardOutput) +
                                   "\nstandard error:  " + escape(result_->standardError));
}

Failure CaseRun::standardOutput(const Step& step) {
  return result_ ? compareOutput(step, result_->standardOutput) : Failure("nothing has been run (run)");
}

Failure CaseRun::standardError(const Step& step) {
  return result_ ? compareOutput(step, result_->standardError) : Failure("nothing has been run (run)");
}

Failure CaseRun::exit(const Step& step) {
  const auto expected = exitStatus(step.argument);
  if (!expected) {
    return "an exit is a status or signal NAME";
  }
  if (!terminal_ && !result_) {
    return "nothing has been run";
  }
  exitSeen_ = true;
  if (terminal_) {
    return terminal_->waitForExit(*expected);
  }
  return result_->status == *expected
             ? Done
             : Failure("ended with " + describe(*result_->status) + " instead of " + describe(*expected) +
                       "\nstandard output: " + escape(result_->standardOutput) +
                       "\nstandard error:  " + escape(result_->standardError));
}

Failure CaseRun::content(const Step& step) {
  std::ifstream stream(scratch_.path() / step.argument, std::ios::binary);
  if (!stream) {
    return "there is no file " + step.argument;
  }
  std::string actual{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  return compareOutput(step, actual);
}

}  // namespace testsupport

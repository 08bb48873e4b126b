#include "tests/support/case_runner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <ostream>

namespace testsupport {
namespace {

using namespace std::chrono_literals;

// For scripts that pass, patience only limits how long a hanging test takes.
std::optional<CaseProblem> run(std::string_view script, std::chrono::milliseconds patience = 60s) {
  return runCase(script, {"/bin/cat", caseEnvironment("/nowhere"), patience});
}

struct GoodScript {
  std::string name;
  std::string script;

  friend void PrintTo(const GoodScript& row, std::ostream* out) { *out << row.name; }
};

class GoodScripts : public testing::TestWithParam<GoodScript> {};

TEST_P(GoodScripts, Pass) {
  const auto problem = run(GetParam().script);
  EXPECT_FALSE(problem.has_value()) << problem->line << ": " << problem->cause;
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, GoodScripts,
    testing::Values(
        GoodScript{"Typing", "type hello<enter>\nscreen\n  hello\n  hello\ncursor 3 1\ntype <c-d>\nexit 0\n"},
        GoodScript{"Wildcards", "type one<enter>two<enter>\nscreen\n  o{*}\n  {**}\n  two\ntype <c-d>\nexit 0\n"},
        GoodScript{"Bytes",
                   "type a<enter>\nbytes\n  a\\r\\n\n  a\\r\\n\ntype b<enter>\nbytes\n  b\\r\\nb{*}\n"
                   "type <c-d>\nexit 0\n"},
        GoodScript{"Signals", "type a<enter>\nwait a\nsignal TERM\nexit signal TERM\n"},
        GoodScript{"HangUp", "start\nhangup\nexit signal HUP\n"},
        GoodScript{"Pipe", "input pipe\ntype a<x0a>\nwait a\neof\nexit 0\nscreen\n  a\n"},
        GoodScript{"Size", "size 57x13\nprogram stty\nargs size\nstart\nscreen\n  13 57\nexit 0\n"},
        GoodScript{"Prompts",
                   "program sh\nargs -i\nenv PS1 \"in> \"\nprompt \"in> \"\ntype echo x<enter>\n"
                   "prompt \"in> \"\nscreen\n  \"in> \"echo x\n  x\n  \"in> \"\ntype exit 3<enter>\nexit 3\n"},
        GoodScript{"Settings",
                   "program sh\nargs -c \"stty -icanon -echo; read x; stty icanon echo\"\ntermios raw\n"
                   "type <enter>\nexit 0\ntermios restored\n"},
        GoodScript{"Styles",
                   "program printf\nargs \"\\\\033[7m\\\\033[5mMore\\\\033[0m.\\\\033[31mred\"\nstart\n"
                   "wait More.red\nattr 1 4 reverse blink\nattr 1 5 plain\nattr 1 6 red\nexit 0\n"},
        GoodScript{"Transcript",
                   "size 20x2\nprogram seq\nargs 5\nstart\nexit 0\nscreen\n  5\ntranscript\n  1\n  2\n"
                   "  {**}\n  5\n"},
        GoodScript{"Resize",
                   "program sh\nargs -c \"read x; stty size\"\nstart\nresize 100x40\ntype <enter>\n"
                   "wait 40 100\nexit 0\n"},
        GoodScript{"Quiet", "stdin\n  first\n\n  last\\c\nrun\nexit 0\nstdout\n  first\n\n  last\\c\n"},
        GoodScript{"QuietTwice",
                   "program sh\nrun -c \"echo out; echo err >&2; exit 2\"\nexit 2\nstdout\n  out\n"
                   "stderr\n  err\nrun -c \"kill -ABRT $$\"\nexit signal ABRT\n"},
        GoodScript{"Files",
                   "file sub/text\n  a\n  b\nhex bytes\n  63 0a # c\nrun sub/text bytes\nexit 0\nstdout\n"
                   "  a\n  b\n  c\ncontent bytes\n  c\n"},
        GoodScript{"Environment",
                   "env NAME a value\nprogram sh\nrun -c \"echo $NAME $EVTSRV_ENDPOINT\"\nexit 0\n"
                   "stdout\n  a value embedded:\nunset EVTSRV_ENDPOINT\n"
                   "run -c \"echo -${EVTSRV_ENDPOINT-none}-\"\nexit 0\nstdout\n  -none-\n"}),
    [](const auto& row) { return row.param.name; });

struct BadScript {
  std::string name;
  std::string script;
  std::size_t line;
  std::string cause;  // how the cause begins

  friend void PrintTo(const BadScript& row, std::ostream* out) { *out << row.name; }
};

class BadScripts : public testing::TestWithParam<BadScript> {};

TEST_P(BadScripts, FailAtTheirLineWithTheirCause) {
  // Many of these scripts fail only when the patience is over. A loaded machine needs more of it to reach that step.
  std::optional<CaseProblem> problem;
  const auto asExpected = [&] {
    return problem && problem->line == GetParam().line && problem->cause.starts_with(GetParam().cause);
  };
  for (std::chrono::milliseconds patience = 300ms; patience <= 30s && !asExpected(); patience *= 10) {
    problem = run(GetParam().script, patience);
  }
  ASSERT_TRUE(problem.has_value());
  EXPECT_EQ(problem->line, GetParam().line);
  EXPECT_TRUE(problem->cause.starts_with(GetParam().cause)) << problem->cause;
}

const std::string End = "type <c-d>\nexit 0\n";

INSTANTIATE_TEST_SUITE_P(
    Scripts, BadScripts,
    testing::Values(
        BadScript{"WrongScreen", "type a<enter>\nscreen\n  a\n  b\n" + End, 2, "the screen differs"},
        BadScript{"RowTooMuch", "program seq\nargs 2\nstart\nexit 0\nscreen\n  1\n", 5, "the screen differs"},
        BadScript{"MissingText", "type a<enter>\nwait b\n" + End, 2, "not on the screen"},
        BadScript{"MissingTextOfAnEndedProgram", "program true\nwait b\nexit 0\n", 2, "not on the screen"},
        BadScript{"OldPrompt", "type a<enter>\nwait a\ntype b\nprompt a\n" + End, 4, "no new prompt"},
        BadScript{"WrongBytes", "type a<enter>\nbytes\n  a\\r\\na\\n\n" + End, 2, "expected bytes"},
        BadScript{"BytesTooMany", "program seq\nargs 2\nstart\nexit 0\nbytes\n  1\\r\\n\n", 5, "expected bytes"},
        BadScript{"WrongTranscript", "type a<enter>\ntranscript\n  b\n" + End, 2, "what was shown differs"},
        BadScript{"WrongCursor", "type a\ncursor 1 3\n" + End, 2, "the cursor is not"},
        BadScript{"WrongStyle", "type a\nattr 1 1 bold\n" + End, 2, "another style"},
        BadScript{"WrongStatus", "program false\nstart\nexit 0\n", 3, "ended with 1 instead of 0"},
        BadScript{"WrongSignal", "start\nsignal TERM\nexit signal INT\n", 3, "ended with signal TERM"},
        BadScript{"SignalInsteadOfStatus", "start\nsignal TERM\nexit 15\n", 3, "ended with signal TERM"},
        BadScript{"NoEnd", "start\nexit 0\n", 2, "the program has not ended"},
        BadScript{"NotRaw", "type a\ntermios raw\n" + End, 2, "the terminal is not in raw mode"},
        BadScript{"NotRestored", "program stty\nargs -echo\nstart\nexit 0\ntermios restored\n", 5, "the terminal's"},
        BadScript{"WrongOutput", "program echo\nrun a\nexit 0\nstdout\n  b\n", 4, "stdout differs"},
        BadScript{"MissingLineEnd", "program printf\nrun a\nexit 0\nstdout\n  a\n", 4, "stdout differs"},
        BadScript{"WrongError", "program sh\nrun -c \"echo a >&2\"\nexit 0\nstderr\n  b\n", 4, "stderr differs"},
        BadScript{"UnmentionedOutput", "program echo\nrun a\nexit 0\n", 3, "the script does not mention"},
        BadScript{"UnmentionedError", "program sh\nrun -c \"echo a >&2\"\nexit 0\nrun -c true\nexit 0\n", 4,
                  "the script does not mention"},
        BadScript{"WrongRunStatus", "program false\nrun\nexit 0\n", 3, "ended with 1 instead of 0"},
        BadScript{"RunWithoutEnd", "program sleep\nrun 1000\nexit 0\n", 2, "the program has not ended"},
        BadScript{"WrongContent", "file a\n  b\nrun a\nexit 0\nstdout\n  b\ncontent a\n  c\n", 7, "content differs"},
        BadScript{"MissingFile", "run\nexit 0\ncontent a\n  c\n", 3, "there is no file"},
        BadScript{"NoSuchProgram", "program /no/such/program\nstart\nexit 0\n", 2, "/no/such/program"},
        BadScript{"Empty", "", 0, "the script runs nothing"},
        BadScript{"UnknownWord", "start\nclick 3\nexit 0\n", 2, "no such step: click"},
        BadScript{"ExitForgotten", "start\n", 1, "the script does not say"},
        BadScript{"RunExitForgotten", "run\nrun\nexit 0\n", 2, "the script does not say"},
        BadScript{"SetUpTooLate", "start\nsize 80x24\nexit 0\n", 2, "size comes before"},
        BadScript{"BothKinds", "start\nrun a\nexit 0\n", 2, "a script either"},
        BadScript{"OutputOfNothing", "stdout\n  a\nexit 0\n", 1, "nothing has been run"},
        BadScript{"ExitOfNothing", "exit 0\n", 1, "nothing has been run"},
        BadScript{"BlockMissing", "screen\nexit 0\n", 1, "screen needs indented lines"},
        BadScript{"BlockTooMuch", "type a\n  b\nexit 0\n", 1, "type has no indented lines"},
        BadScript{"ArgumentMissing", "wait\nexit 0\n", 1, "wait needs something"},
        BadScript{"ArgumentTooMuch", "eof now\nexit 0\n", 1, "eof stands alone"},
        BadScript{"UnknownKey", "type <nokey>\nexit 0\n", 1, "an unknown key"},
        BadScript{"UnknownSignal", "signal NONE\nexit 0\n", 1, "an unknown signal"},
        BadScript{"UnknownEscape", "bytes\n  \\q\nexit 0\n", 1, "an unknown escape"},
        BadScript{"OpenQuote", "args \"a\nstart\nexit 0\n", 1, "a quote"},
        BadScript{"BadSize", "size 80\nstart\nexit 0\n", 1, "a size is"},
        BadScript{"BadExit", "start\nexit early\n", 2, "an exit is"},
        BadScript{"EofOfATerminal", "eof\nexit 0\n", 1, "eof needs"},
        BadScript{"StrayBlock", "  a\n", 1, "an indented line"}),
    [](const auto& row) { return row.param.name; });

TEST(CaseRunner, RemovesTheScratchFolder) {
  ASSERT_FALSE(
      run("program sh\nfile note\n  x\nrun -c \"pwd > /dev/fd/2; rm -f note\"\nexit 0\nstderr\n  {*}/flowscope-"
          "test-{*}\n"));
}

}  // namespace
}  // namespace testsupport

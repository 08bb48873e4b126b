#include "terminal/console_output.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/key_codes.h"
#include "tests/support/memory_stream.h"
#include "tests/terminal/fakes.h"

namespace flowscope {
namespace {

using test::FixedSize;
using test::MemoryStream;
using test::ScriptedKeys;

struct Fixture {
  explicit Fixture(bool quiet, int rows = 24, std::deque<int> answers = {})
      : size(rows, 80), keys(std::move(answers)), output(stream.stream(), size, keys, quiet) {}

  MemoryStream stream;
  FixedSize size;
  ScriptedKeys keys;
  ConsoleOutput output;
};

struct Row {
  std::string_view name;
  std::function<void(ConsoleOutput&)> write;
  std::string interactive;
  std::string quiet;
};

TEST(ConsoleOutput, WritesTheExactBytesOfEachOperation) {
  const std::vector<Row> rows{
      {"applyStyle", [](auto& out) { out.applyStyle(AttrBold | AttrReverse, ColourRed); }, "\x1b[7m\x1b[1m\x1b[31m",
       ""},
      {"applyStyle plain", [](auto& out) { out.applyStyle(0, 0); }, "\x1b[39m", ""},
      {"clearStyle", [](auto& out) { out.clearStyle(AttrBold, ColourRed); }, "\x1b[22m\x1b[39m", "\x1b[22m\x1b[39m"},
      {"clearStyle plain", [](auto& out) { out.clearStyle(0, 0); }, "", ""},
      {"writeAt", [](auto& out) { out.writeAt(17, "abc"); }, "\x1b[17Gabc", "abc\n"},
      {"writeAt no text", [](auto& out) { out.writeAt(17, nullptr); }, "\x1b[17G", ""},
      {"writeAt empty", [](auto& out) { out.writeAt(3, ""); }, "\x1b[3G", "\n"},
      {"writeAt percent", [](auto& out) { out.writeAt(1, "%s%n"); }, "\x1b[1G%s%n", "%s%n\n"},
      {"writeStyled",
       [](auto& out) {
         out.writeStyled({AttrUnderline, ColourBlue, "x\n"});
       },
       "\x1b[4m\x1b[34m\x1b[1Gx\n\x1b[24m\x1b[39m", "x\n\n\x1b[24m\x1b[39m"},
      {"writeStyled no text",
       [](auto& out) {
         out.writeStyled({0, 0, nullptr});
       },
       "\x1b[39m\x1b[1G", ""},
      {"writeLine",
       [](auto& out) {
         EXPECT_TRUE(out.writeLine({0, 0, "abc"}, false));
       },
       "\x1b[39m\x1b[1Gabc\n", "abc\n"},
      {"writeLine switches off behind the line end",
       [](auto& out) {
         EXPECT_TRUE(out.writeLine({AttrBold, ColourGreen, "abc"}, true));
       },
       "\x1b[1m\x1b[32m\x1b[1Gabc\n\x1b[22m\x1b[39m", "abc\n\x1b[22m\x1b[39m"},
      {"writeLine no text",
       [](auto& out) {
         EXPECT_TRUE(out.writeLine({0, 0, nullptr}, false));
       },
       "\x1b[39m\x1b[1G\n", ""},
      {"writeLine unknown colour",
       [](auto& out) {
         EXPECT_TRUE(out.writeLine({0, 7, "abc"}, false));
       },
       "\x1b[1Gabc\n\x1b[39m", "abc\n\x1b[39m"},
      {"writeLineFresh",
       [](auto& out) {
         EXPECT_TRUE(out.writeLineFresh({0, 0, "abc"}, true, false));
       },
       "\x1b[39m\x1b[1Gabc\n", "abc\n"},
      {"writeCell",
       [](auto& out) {
         out.writeCell(21, {AttrBold, ColourDefault, "name"});
       },
       "\x1b[1m\x1b[39m\x1b[21Gname\x1b[22m", "name\n\x1b[22m"},
  };
  for (const Row& row : rows) {
    Fixture interactive(false);
    row.write(interactive.output);
    EXPECT_EQ(interactive.stream.take(), row.interactive) << row.name;
    Fixture quiet(true);
    row.write(quiet.output);
    EXPECT_EQ(quiet.stream.take(), row.quiet) << row.name << ", quiet";
  }
}

TEST(ConsoleOutput, ReportsErrorsAsOneLine) {
  struct Report {
    ResultCode code;
    std::string message;
  };
  const std::vector<Report> reports{{5, "ERROR: OptionError"},   {2, "ERROR: UnknownError"},
                                    {0, "ERROR: unknownError"},  {12, "ERROR: unknownError"},
                                    {-1, "ERROR: unknownError"}, {10, "ERROR: Bad Argument"}};
  for (const Report& report : reports) {
    Fixture interactive(false);
    interactive.output.reportResult(report.code);
    EXPECT_EQ(interactive.stream.take(), "\x1b[39m\x1b[1G" + report.message + "\n") << report.code;
    Fixture quiet(true);
    quiet.output.reportResult(report.code);
    EXPECT_EQ(quiet.stream.take(), report.message + "\n") << report.code;
  }
}

TEST(ConsoleOutput, ReportsNothingForSuccessSilenceAndQuit) {
  for (const ResultCode code : {1, 3, 11}) {
    for (const bool quiet : {false, true}) {
      Fixture fixture(quiet);
      fixture.output.reportResult(code);
      EXPECT_EQ(fixture.stream.take(), "") << code << ' ' << quiet;
    }
  }
}

constexpr std::string_view Line = "\x1b[39m\x1b[1Gx\n";
constexpr std::string_view More = "\x1b[7m\x1b[5m\x1b[39mMore\x1b[27m\x1b[25m\x1b[2K";

std::string lines(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += Line;
  return text;
}

// A listing of 100 lines; answers how many were printed.
int list(ConsoleOutput& output) {
  output.resetPaging();
  int printed = 0;
  while (printed < 100 && output.writeLine({0, 0, "x"}, true)) ++printed;
  return printed;
}

TEST(ConsoleOutput, AsksAfterEachPageOfTwentyFourRows) {
  struct Page {
    std::string_view name;
    std::deque<int> answers;
    std::string written;
    int printed;
  };
  const std::string more(More);
  const std::vector<Page> pages{
      {"q", {'q'}, lines(22) + more, 22},
      {"space", {' ', 'q'}, lines(22) + more + lines(22) + more, 44},
      {"enter", {'\n', 'q'}, lines(22) + more + lines(1) + more, 23},
      {"capital q", {'Q', 'q'}, lines(22) + more + lines(22) + more, 44},
      {"end of input", {}, lines(22) + more + lines(22) + more + lines(22) + more + lines(22) + more + lines(12), 100},
      {"resumed at the prompt, which is drawn again", {InputResumed, 'q'}, lines(22) + more + "\033[1G" + more, 22},
  };
  for (const Page& page : pages) {
    Fixture fixture(false, 24, page.answers);
    EXPECT_EQ(list(fixture.output), page.printed) << page.name;
    EXPECT_EQ(fixture.stream.take(), page.written) << page.name;
  }
}

TEST(ConsoleOutput, FreshLineResetsTheCountersOnlyWhenAsked) {
  Fixture kept(false, 5, {'q'});
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(kept.output.writeLine({0, 0, "x"}, true));
  EXPECT_FALSE(kept.output.writeLineFresh({0, 0, "x"}, false, true));
  Fixture reset(false, 5, {'q'});
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(reset.output.writeLine({0, 0, "x"}, true));
  EXPECT_TRUE(reset.output.writeLineFresh({0, 0, "x"}, true, true));
  EXPECT_EQ(reset.keys.reads, 0);
}

TEST(ConsoleOutput, UnpagedOutputNeverAsks) {
  Fixture fixture(false, 4);
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(fixture.output.writeLine({0, 0, "x"}, false));
  EXPECT_EQ(fixture.stream.take(), lines(50));
  EXPECT_EQ(fixture.keys.reads, 0);
}

TEST(ConsoleOutput, QuietOutputNeverAsks) {
  Fixture fixture(true, 4);
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(fixture.output.writeLine({0, 0, "x"}, true));
  EXPECT_EQ(fixture.keys.reads, 0);
}

TEST(ConsoleOutput, BecomesQuietWhenTold) {
  Fixture fixture(false);
  EXPECT_FALSE(fixture.output.quiet());
  fixture.output.setQuiet(true);
  EXPECT_TRUE(fixture.output.quiet());
  fixture.output.writeAt(4, "abc");
  EXPECT_EQ(fixture.stream.take(), "abc\n");
}

TEST(ConsoleOutput, ReturnsTheSizeAndTheStream) {
  Fixture fixture(false, 33);
  EXPECT_EQ(fixture.output.terminalRows(), 33);
  EXPECT_EQ(fixture.output.terminalColumns(), 80);
  EXPECT_EQ(fixture.output.stream(), fixture.stream.stream());
}

TEST(ConsoleOutput, DoesNotFlushItsStream) {
  char* bytes = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&bytes, &size);
  FixedSize terminal;
  ScriptedKeys keys;
  ConsoleOutput output(stream, terminal, keys, false);
  output.writeLine({0, 0, "x"}, false);
  output.reportResult(ResultNotFound);
  // A memory stream publishes its size when it is flushed.
  const std::size_t published = size;
  std::fclose(stream);
  EXPECT_EQ(published, 0U);
  EXPECT_EQ(std::string(bytes, size), std::string(Line) + "\x1b[39m\x1b[1GERROR: NotFound\n");
  std::free(bytes);
}

}  // namespace
}  // namespace flowscope

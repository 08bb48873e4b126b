#include "platform/streamctl/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace streamctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// The command, or one of another type when the words were taken for something else.
template <class Wanted>
std::optional<Wanted> parsed(std::vector<std::string> words) {
  const auto result = parseCommandLine(std::move(words));
  const auto* line = std::get_if<CommandLine>(&result);
  const auto* command = line == nullptr ? nullptr : std::get_if<Wanted>(&line->command);
  return command == nullptr ? std::nullopt : std::optional(*command);
}

Saying said(std::vector<std::string> words) {
  const auto result = parseCommandLine(std::move(words));
  const auto* saying = std::get_if<Saying>(&result);
  return saying == nullptr ? Saying{} : *saying;
}

TEST(CommandLine, ParsesInject) {
  const auto plain = parsed<InjectCommand>({"inject", "DeckOut1", "0x90", "60", "100"});
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->port, "DeckOut1");
  EXPECT_THAT(plain->message, ElementsAre(0x90, 60, 100));
  EXPECT_EQ(plain->group, 0);
  EXPECT_EQ(plain->count, 1U);
  EXPECT_FALSE(plain->perSecond);

  const auto full = parsed<InjectCommand>(
      {"inject", "--group", "65535", "DeckOut1", "1", "--count=18446744073709551615", "2", "--rate", "0.5", "3"});
  ASSERT_TRUE(full);
  EXPECT_THAT(full->message, ElementsAre(1, 2, 3));
  EXPECT_EQ(full->group, 65535);
  EXPECT_EQ(full->count, 18446744073709551615U);
  EXPECT_EQ(full->perSecond, 0.5);
}

TEST(CommandLine, ParsesPlay) {
  const auto plain = parsed<PlayCommand>({"play", "song.mid", "DeckOut1"});
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->file, "song.mid");
  EXPECT_EQ(plain->port, "DeckOut1");
  EXPECT_FALSE(plain->loop);
  EXPECT_EQ(plain->speed, 1);
  const auto full = parsed<PlayCommand>({"play", "--loop", "song.mid", "--speed", "0", "DeckOut1"});
  ASSERT_TRUE(full);
  EXPECT_TRUE(full->loop);
  EXPECT_EQ(full->speed, 0);
}

TEST(CommandLine, ParsesListStatsAndWatch) {
  EXPECT_TRUE(parsed<ListCommand>({"list"}));
  EXPECT_TRUE(parsed<ListCommand>({"list", "--json"})->json);
  EXPECT_FALSE(parsed<StatsCommand>({"stats"})->json);
  EXPECT_TRUE(parsed<StatsCommand>({"stats", "--json"})->json);
  const auto watch = parsed<WatchCommand>({"watch", "A", "--json", "B"});
  ASSERT_TRUE(watch);
  EXPECT_THAT(watch->ports, ElementsAre("A", "B"));
  EXPECT_TRUE(watch->json);
}

TEST(CommandLine, PortMayBeCalledLikeACommand) {
  const auto watch = parsed<WatchCommand>({"watch", "list", "stats"});
  ASSERT_TRUE(watch);
  EXPECT_THAT(watch->ports, ElementsAre("list", "stats"));
}

TEST(CommandLine, WatchPrintsEverythingUnlessToldOtherwise) {
  const auto watch = parsed<WatchCommand>({"watch", "A"});
  ASSERT_TRUE(watch);
  EXPECT_FALSE(watch->json || watch->lines.decode);
  EXPECT_EQ(watch->lines.time, TimeForm::Service);
  EXPECT_TRUE(watch->lines.filter.types.all());
  EXPECT_FALSE(watch->lines.filter.channels);
}

TEST(CommandLine, ParsesWhatWatchPrints) {
  const auto watch = parsed<WatchCommand>(
      {"watch", "--decode", "A", "--time", "delta", "--type", "note,clock", "--no-clock", "--channel=1-4,10", "B"});
  ASSERT_TRUE(watch);
  EXPECT_THAT(watch->ports, ElementsAre("A", "B"));
  EXPECT_TRUE(watch->lines.decode);
  EXPECT_EQ(watch->lines.time, TimeForm::Delta);
  EXPECT_EQ(watch->lines.filter.types, midi::TypeSet(1)) << "notes";
  EXPECT_EQ(watch->lines.filter.channels, midi::ChannelSet(0x020F));
  EXPECT_EQ(parsed<WatchCommand>({"watch", "A", "--no-clock"})->lines.filter.types.count(), 14U);
  EXPECT_EQ(parsed<WatchCommand>({"watch", "A", "--time", "wall"})->lines.time, TimeForm::Wall);
  EXPECT_EQ(parsed<WatchCommand>({"watch", "A", "--time", "start"})->lines.time, TimeForm::Start);
  EXPECT_EQ(parsed<WatchCommand>({"watch", "A", "--time", "none"})->lines.time, TimeForm::None);
}

TEST(CommandLine, WrongWordsOfWatchAreNamed) {
  EXPECT_THAT(said({"watch", "A", "--type", "notes"}).text,
              testing::StartsWith("--type: 'notes' is not a type of messages; the types are note, pressure, cc, "));
  EXPECT_EQ(said({"watch", "A", "--channel", "17"}).text,
            "--channel: '17' is not a channel (1 to 16) or a range of channels (1-4) (see --help)");
  EXPECT_EQ(said({"watch", "A", "--time", "noon"}).text,
            "--time: 'noon' is not wall, delta, start or none (see --help)");
  EXPECT_EQ(said({"watch", "A", "--type", "clock", "--no-clock"}).text,
            "--no-clock: leaves nothing of --type clock (see --help)");
}

TEST(CommandLine, EndpointMayStandBeforeOrAfterTheCommand) {
  for (const std::vector<std::string>& words : {std::vector<std::string>{"--endpoint", "ipc:///x", "list"},
                                                {"list", "--endpoint", "ipc:///x"},
                                                {"list", "--endpoint=ipc:///x"}}) {
    const auto result = parseCommandLine(words);
    ASSERT_TRUE(std::holds_alternative<CommandLine>(result)) << words[0];
    EXPECT_EQ(std::get<CommandLine>(result).endpoint, "ipc:///x");
  }
  EXPECT_FALSE(std::get<CommandLine>(parseCommandLine({"list"})).endpoint);
}

TEST(CommandLine, HelpIsNoError) {
  EXPECT_FALSE(said({"--help"}).wrong);
  EXPECT_THAT(said({"--help"}).text, HasSubstr("Show groups, ports and connections"));
  for (const char* command : {"list", "inject", "play", "watch", "stats"}) {
    EXPECT_FALSE(said({command, "--help"}).wrong) << command;
    EXPECT_THAT(said({command, "--help"}).text, HasSubstr(std::string("Usage: streamctl ") + command)) << command;
  }
}

TEST(CommandLine, WrongArgumentsAreReportedInOnePrintableLine) {
  const std::vector<std::string> rows[] = {{},
                                           {"list", "extra"},
                                           {"lists"},
                                           {"list", "stats"},
                                           {"list", "--bogus"},
                                           {"--endpoint", "", "list"},
                                           {"--endpoint"},
                                           {"inject"},
                                           {"inject", "P"},
                                           {"inject", "P", "256"},
                                           {"inject", "P", "-1"},
                                           {"inject", "P", "--", "-1"},
                                           {"inject", "P", "one"},
                                           {"inject", "P", "\x1b[2J\n"},
                                           {"inject", "P", "1", "--group", "65536"},
                                           {"inject", "P", "1", "--group", "-1"},
                                           {"inject", "P", "1", "--count", "0"},
                                           {"inject", "P", "1", "--count", "1.5"},
                                           {"inject", "P", "1", "--count", "18446744073709551616"},
                                           {"inject", "P", "1", "--count", "2", "--count", "3"},
                                           {"inject", "P", "1", "--rate", "0"},
                                           {"inject", "P", "1", "--rate", "nan"},
                                           {"inject", "P", "1", "--rate", "inf"},
                                           {"inject", "P", "1", "--json"},
                                           {"play", "F"},
                                           {"play", "F", "P", "Q"},
                                           {"play", "F", "P", "--speed", "0.009"},
                                           {"play", "F", "P", "--speed", "1001"},
                                           {"play", "F", "P", "--speed", "nan"},
                                           {"play", "F", "P", "--speed", "fast"},
                                           {"watch"},
                                           {"watch", "P", "--type", ""},
                                           {"watch", "P", "--type", "\x1b[2J\n"},
                                           {"watch", "P", "--type", "note", "--type", "cc"},
                                           {"watch", "P", "--channel", "0"},
                                           {"watch", "P", "--channel", ""},
                                           {"watch", "P", "--time"},
                                           {"watch", "P", "--time", "\x1b[2J\n"},
                                           {"list", "--decode"},
                                           {"stats", "P"}};
  for (const auto& words : rows) {
    const Saying saying = said(words);
    EXPECT_TRUE(saying.wrong) << testing::PrintToString(words);
    EXPECT_THAT(saying.text, testing::MatchesRegex("[ -~]+")) << testing::PrintToString(words);
  }
}

TEST(CommandLine, MissingCommandIsReportedWithTheListOfCommands) {
  constexpr const char* Unknown =
      "no such command: con; the commands are list, inject, play, watch, stats (see --help)";
  constexpr const char* Missing = "a command is required: list, inject, play, watch, stats (see --help)";
  const struct {
    std::vector<std::string> words;
    std::string line;
  } table[] = {{{"con"}, Unknown},
               {{"con", "A", "B"}, Unknown},
               {{"con", "list"}, Unknown},
               {{"--endpoint", "list", "con"}, Unknown},
               {{"--endpoint=list", "con"}, Unknown},
               {{"--bogus", "con"}, Unknown},
               {{"c\x1bn"}, "no such command: c\\x1Bn; the commands are list, inject, play, watch, stats (see --help)"},
               {{}, Missing},
               {{"--endpoint", "list"}, Missing}};
  for (const auto& row : table) EXPECT_EQ(said(row.words).text, row.line);
  // A word too many is none of these.
  EXPECT_THAT(said({"list", "con"}).text, testing::Not(HasSubstr("no such command")));
  EXPECT_THAT(said({"--endpoint"}).text, HasSubstr("--endpoint: 1 required"));
}

TEST(CommandLine, HelpOfInjectExplainsBareNumbers) {
  EXPECT_THAT(said({"inject", "--help"}).text, HasSubstr("bare numbers are decimal"));
}

TEST(CommandLine, LengthOfAMessageIsLimited) {
  std::vector<std::string> words{"inject", "P"};
  words.insert(words.end(), 1U << 20U, "0");
  EXPECT_EQ(parsed<InjectCommand>(words)->message.size(), 1U << 20U);
  words.emplace_back("0");
  EXPECT_THAT(said(words).text, HasSubstr("1048576"));
}

}  // namespace
}  // namespace streamctl

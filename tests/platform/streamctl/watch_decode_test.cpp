// What watch prints of messages, and of which, as a process, on a real service.
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

using testing::ElementsAre;

class WatchDecode : public WithService {
 protected:
  void inject(const std::string& port, const std::vector<std::string>& bytes, const std::string& group = "0") {
    std::vector<std::string> words{"inject", "--group", group, port};
    words.insert(words.end(), bytes.begin(), bytes.end());
    ASSERT_THAT(control(words), Succeeds());
  }

  // Sends what the lines of the tests are about, and a song select at the end.
  void injectAll() {
    inject("DeckOut2", {"0xB0", "101", "0"}, "9");
    inject("DeckOut2", {"0xB0", "100", "0"}, "9");
    inject("DeckOut2", {"0xB0", "6", "12"}, "9");
    inject("DeckOut2", {"0xE0", "0", "96"}, "9");
    inject("DeckOut2", {"0x90", "60", "100"}, "1");
    inject("DeckOut2", {"0x90", "60", "100"}, "16");
    inject("DeckOut2", {"0xF8"});
    inject("DeckOut2", {"0xF0", "0x7E", "0x7F", "0x06", "0x01", "0xF7"});
    inject("DeckOut2", {"0xF3", "1"});
  }

  // What watch prints of all that, with these options; count: of lines.
  std::vector<std::string> watched(std::vector<std::string> options, std::size_t count) {
    options.insert(options.begin(), {"watch", "DeckOut2"});
    const auto watch = start("watch", options);
    EXPECT_TRUE(hasTaps(1));
    injectAll();
    EXPECT_TRUE(watch->hasLines(count)) << watch->output() << watch->errors();
    watch->signal(SIGINT);
    EXPECT_EQ(watch->end(), ExitStatus::exited(0));
    EXPECT_EQ(watch->errors(), "");
    return linesOf(watch->output());
  }
};

TEST_F(WatchDecode, SaysWhatMessagesMean) {
  EXPECT_THAT(
      watched({"--decode", "--time", "none"}, 9),
      ElementsAre("DeckOut2 ch10 controller 101 (RPN MSB) = 0",
                  "DeckOut2 ch10 controller 100 (RPN LSB) = 0: selects RPN 0 pitch bend range",
                  "DeckOut2 ch10 controller 6 (data entry) = 12: RPN 0 pitch bend range = 12.00 semitones",
                  "DeckOut2 ch10 pitch bend +6.00 semitones (+4096)", "DeckOut2 ch2 note on C4 velocity 100",
                  "DeckOut2 group16 note on C4 velocity 100", "DeckOut2 - clock",
                  "DeckOut2 - universal non real time identity request, all devices, 6 bytes", "DeckOut2 - song 1"));
}

TEST_F(WatchDecode, PrintsOnlyChosenTypes) {
  EXPECT_THAT(watched({"--decode", "--time", "none", "--type", "bend,song"}, 2),
              ElementsAre("DeckOut2 ch10 pitch bend +6.00 semitones (+4096)", "DeckOut2 - song 1"));
  EXPECT_THAT(watched({"--time", "none", "--type", "note,song"}, 3),
              ElementsAre("DeckOut2 1 0x90 0x3C 0x64", "DeckOut2 16 0x90 0x3C 0x64", "DeckOut2 0 0xF3 0x01"));
}

TEST_F(WatchDecode, LeavesClocksOut) {
  const auto lines = watched({"--no-clock", "--time", "none"}, 8);
  EXPECT_EQ(lines.size(), 8U);
  EXPECT_THAT(lines, testing::Not(testing::Contains("DeckOut2 0 0xF8")));
}

TEST_F(WatchDecode, PrintsOnlyChosenChannels) {
  EXPECT_THAT(watched({"--channel", "1-4,16", "--time", "none"}, 1), ElementsAre("DeckOut2 1 0x90 0x3C 0x64"));
}

TEST_F(WatchDecode, JsonSaysItToo) {
  const auto lines = watched({"--json", "--decode", "--time", "start", "--type", "bend"}, 1);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(nlohmann::json::parse(lines[0], nullptr, false), nlohmann::json::parse(R"j({
    "time_ns": 0, "port": "DeckOut2", "group": 9, "bytes": [224, 0, 96], "type": "bend", "channel": 10,
    "text": "pitch bend +6.00 semitones (+4096)", "event": "pitch bend", "value": 4096, "semitones": 6.0})j"));
}

TEST_F(WatchDecode, TimesHaveTheWantedForm) {
  for (const auto& [form, pattern] : {std::pair("wall", "[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{6} DeckOut2 .*"),
                                      {"delta", "-?[0-9]+\\.[0-9]{9} DeckOut2 .*"},
                                      {"start", "[0-9]+\\.[0-9]{9} DeckOut2 .*"},
                                      {"none", "DeckOut2 .*"}}) {
    const auto lines = watched({"--time", form}, 9);
    EXPECT_THAT(lines, testing::Each(testing::MatchesRegex(pattern))) << form;
    if (form != std::string("delta") && form != std::string("start")) continue;
    EXPECT_THAT(lines.at(0), testing::StartsWith("0.000000000 "));
    EXPECT_THAT(lines.at(8), testing::Not(testing::StartsWith("0.000000000 "))) << "some time has passed";
  }
}

TEST_F(WatchDecode, WallIsTheTimeOfTheSystem) {
  const auto now = [] { return std::chrono::system_clock::now().time_since_epoch(); };
  const std::chrono::nanoseconds before = now();
  const auto lines = watched({"--json", "--time", "wall", "--type", "song"}, 1);
  const std::chrono::nanoseconds after = now();
  ASSERT_EQ(lines.size(), 1U);
  const auto object = nlohmann::json::parse(lines[0], nullptr, false);
  // The two clocks are not read at the same moment.
  constexpr std::chrono::nanoseconds Tolerance = 10s;
  EXPECT_GE(object["time_ns"].get<std::int64_t>(), (before - Tolerance).count());
  EXPECT_LE(object["time_ns"].get<std::int64_t>(), (after + Tolerance).count());
}

// Any tempo: a loaded machine delays messages. The decoder's own tests check the number.
TEST_F(WatchDecode, AClockHasATempo) {
  const auto watch = start("watch", {"watch", "DeckOut2", "--decode", "--time", "none"});
  ASSERT_TRUE(hasTaps(1));
  const bool measured = comesTrue([&] {
    EXPECT_THAT(control({"inject", "DeckOut2", "0xF8", "--rate", "240", "--count", "60"}), Succeeds());
    const auto lines = linesOf(watch->output());
    return std::ranges::any_of(lines, [](const std::string& line) { return line.ends_with(" bpm"); });
  });
  EXPECT_TRUE(measured) << watch->output();
  watch->signal(SIGINT);
  EXPECT_EQ(watch->end(), ExitStatus::exited(0));
  EXPECT_THAT(linesOf(watch->output()), testing::Each(testing::MatchesRegex("DeckOut2 - clock( [0-9]+\\.[0-9] bpm)?")));
}

TEST_F(WatchDecode, WrongOptionsAreUsageErrors) {
  for (const auto& [option, value] :
       {std::pair("--type", "notes"), {"--channel", "17"}, {"--time", "noon"}, {"--type", "clock,x"}}) {
    const auto result = control({"watch", "DeckOut2", option, value});
    EXPECT_EQ(result.status, ExitStatus::exited(2)) << option;
    EXPECT_EQ(linesOf(result.standardError).size(), 1U) << result.standardError;
    EXPECT_EQ(result.standardOutput, "");
  }
}

}  // namespace
}  // namespace streamctl

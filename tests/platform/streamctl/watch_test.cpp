// watch, as a process, on a real service.
#include <chrono>
#include <thread>

#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

using testing::ElementsAre;

class WatchCommandLine : public WithService {
 protected:
  testsupport::Command shell(const std::string& line) const {
    return {"sh", {"-c", line}, command({}).environment, {}};
  }
};

TEST_F(WatchCommandLine, LinesBearTheTimeOfTheService) {
  const auto watch = start("watch", {"watch", "DeckOut2"});
  ASSERT_TRUE(hasTaps(1));
  const auto now = [] { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()); };
  const double before = now().count();
  ASSERT_THAT(control({"inject", "DeckOut2", "0xC0", "5", "--group", "3"}), Succeeds());
  ASSERT_TRUE(watch->hasLines(1));
  const std::string line = linesOf(watch->output()).at(0);
  EXPECT_THAT(line, testing::MatchesRegex(R"([0-9]+\.[0-9]{9} DeckOut2 3 0xC0 0x05)"));
  EXPECT_GE(std::stod(line), before);
  EXPECT_LE(std::stod(line), now().count());
}

TEST_F(WatchCommandLine, JsonHasAnObjectInEachLine) {
  const auto watch = start("watch", {"watch", "--json", "DeckOut2", "DeckIn1"});
  ASSERT_TRUE(hasTaps(2));
  ASSERT_THAT(control({"inject", "DeckOut2", "0xC0", "5", "--group", "3"}), Succeeds());
  ASSERT_THAT(control({"inject", "DeckIn1", "0xF8"}), Succeeds());
  ASSERT_TRUE(watch->hasLines(2));
  const auto lines = linesOf(watch->output());
  auto first = nlohmann::json::parse(lines.at(0), nullptr, false);
  auto second = nlohmann::json::parse(lines.at(1), nullptr, false);
  ASSERT_TRUE(first.is_object() && second.is_object()) << watch->output();
  EXPECT_LE(first["time_ns"].get<std::uint64_t>(), second["time_ns"].get<std::uint64_t>());
  first.erase("time_ns");
  second.erase("time_ns");
  EXPECT_EQ(first, nlohmann::json::parse(R"({"port": "DeckOut2", "group": 3, "bytes": [192, 5]})"));
  EXPECT_EQ(second, nlohmann::json::parse(R"({"port": "DeckIn1", "group": 0, "bytes": [248]})"));
}

TEST_F(WatchCommandLine, SucceedsOnEitherEndingSignal) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto watch = start("watch", {"watch", "DeckOut1"});
    ASSERT_TRUE(hasTaps(1));
    watch->signal(signal);
    EXPECT_EQ(watch->end(), ExitStatus::exited(0));
    EXPECT_EQ(watch->output() + watch->errors(), "");
    EXPECT_TRUE(hasTaps(0));
  }
}

TEST_F(WatchCommandLine, EndsWhenNobodyReads) {
  // head is content with one line; whether another one comes or not, watch ends.
  for (const char* count : {"1", "2000"}) {
    const Background pipeline(shell("{ streamctl watch DeckOut2; echo status $? >&2; } | head -n 1"), path("head"));
    ASSERT_TRUE(hasTaps(1));
    ASSERT_THAT(control({"inject", "DeckOut2", "1", "--count", count}), Succeeds());
    EXPECT_TRUE(comesTrue([&] { return pipeline.errors() == "status 0\n"; })) << pipeline.errors();
    EXPECT_THAT(withoutTimes(pipeline.output()), ElementsAre("DeckOut2 0 0x01"));
  }
}

TEST_F(WatchCommandLine, EndsBySignalWhileItsReaderSleeps) {
  const Background pipeline(shell("{ streamctl watch DeckOut2 & echo $! >&2; wait; } | sleep 1000"), path("sleep"));
  ASSERT_TRUE(hasTaps(1));
  // Much more than the pipe and what is on its way hold.
  ASSERT_THAT(control({"inject", "DeckOut2", "1", "--count", "500000"}), Succeeds());
  ASSERT_TRUE(comesTrue([&] { return stats()["clients"][0]["queue_bytes"].get<int>() > 0; }));
  ASSERT_TRUE(comesTrue([&] { return pipeline.errors().ends_with('\n'); }));
  kill(std::stoi(pipeline.errors()), SIGTERM);
  EXPECT_TRUE(hasTaps(0));
}

TEST_F(WatchCommandLine, OutputThatCannotBeWrittenIsAFailure) {
  Background watch(shell("exec streamctl watch DeckOut2 >/dev/full"), path("full"));
  ASSERT_TRUE(hasTaps(1));
  // Longer than it waits for messages without a look at its output.
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  ASSERT_TRUE(hasTaps(1)) << "nothing was to be written";
  ASSERT_THAT(control({"inject", "DeckOut2", "1"}), Succeeds());
  EXPECT_EQ(watch.end(), ExitStatus::exited(1));
  EXPECT_EQ(watch.errors(), "streamctl: standard output: No space left on device\n");
}

TEST_F(WatchCommandLine, UnknownPortIsReported) {
  EXPECT_THAT(control({"watch", "DeckOut1", "Nowhere"}), FailsSaying("streamctl: no such port: Nowhere"));
  EXPECT_THAT(control({"watch", std::string(64, 'x')}),
              FailsSaying("streamctl: no such port: " + std::string(64, 'x')));
}

// The library would open the device as well, and say the same again.
TEST_F(WatchCommandLine, ADeviceFileThatIsWrongIsToldOnce) {
  scratch_.write("wrong.toml", "[[group]]\nid = 0\nname = \"G\"\nsources = -1\n");
  const auto result = control({"watch", "--endpoint", "embedded:" + path("wrong.toml"), "GOut1"});
  EXPECT_EQ(result.status, ExitStatus::exited(1));
  EXPECT_EQ(linesOf(result.standardError).size(), 1U) << result.standardError;
  EXPECT_THAT(result.standardError, testing::HasSubstr("wrong.toml:4: "));
}

TEST_F(WatchCommandLine, GoesOnWhenTheServiceIsBack) {
  const auto watch = start("watch", {"watch", "DeckOut1"});
  ASSERT_TRUE(hasTaps(1));
  ASSERT_THAT(control({"inject", "DeckOut1", "1"}), Succeeds());
  ASSERT_TRUE(watch->hasLines(1));
  killService();
  ASSERT_TRUE(
      comesTrue([&] { return watch->errors() == "streamctl: " + endpoint() + ": connection to the service lost\n"; }));
  startServiceAgain();
  ASSERT_TRUE(hasTaps(1));
  ASSERT_THAT(control({"inject", "DeckOut1", "2"}), Succeeds());
  ASSERT_TRUE(watch->hasLines(2));
  watch->signal(SIGINT);
  EXPECT_EQ(watch->end(), ExitStatus::exited(0));
  EXPECT_THAT(withoutTimes(watch->output()), ElementsAre("DeckOut1 0 0x01", "DeckOut1 0 0x02"));
  EXPECT_THAT(linesOf(watch->errors()),
              ElementsAre("streamctl: " + endpoint() + ": connection to the service lost",
                          "streamctl: " + endpoint() + ": connected to the service again, 1 tap restored"));
}

TEST_F(WatchCommandLine, FullSpeedIsSeenComplete) {
  const auto watch = start("watch", {"watch", "DeckOut2"});
  ASSERT_TRUE(hasTaps(1));
  for (const char* byte : {"1", "2", "3"}) {
    ASSERT_THAT(control({"inject", "DeckOut2", byte, "--count", "50000"}), Succeeds());
  }
  ASSERT_TRUE(watch->hasLines(150'000));
  const auto seen = withoutTimes(watch->output());
  ASSERT_EQ(seen.size(), 150'000U);
  for (std::size_t i = 0; i < seen.size(); ++i) {
    ASSERT_EQ(seen[i], "DeckOut2 0 0x0" + std::to_string(1 + i / 50'000)) << i;
  }
}

}  // namespace
}  // namespace streamctl

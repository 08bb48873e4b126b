// inject, as a process, seen by watch as another.
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

using testing::ElementsAre;

class InjectCommandLine : public WithService {};

TEST_F(InjectCommandLine, AnyBytesPassThroughAPort) {
  const auto watch = start("watch", {"watch", "DeckOut1", "RackIn1"});
  ASSERT_TRUE(hasTaps(2));
  EXPECT_THAT(control({"inject", "DeckOut1", "0x90", "60", "100"}), Succeeds());
  EXPECT_THAT(control({"inject", "DeckOut1", "0"}), Succeeds());
  EXPECT_THAT(control({"inject", "DeckOut1", "--group", "65535", "0xF0", "0x7F", "255", "13", "10"}), Succeeds());
  EXPECT_THAT(control({"inject", "RackIn1", "--group", "9", "0xF8"}), Succeeds());
  ASSERT_TRUE(watch->hasLines(7));
  EXPECT_THAT(withoutTimes(watch->output()),
              ElementsAre("DeckOut1 0 0x90 0x3C 0x64", "RackIn1 0 0x90 0x3C 0x64", "DeckOut1 0 0x00", "RackIn1 0 0x00",
                          "DeckOut1 65535 0xF0 0x7F 0xFF 0x0D 0x0A", "RackIn1 65535 0xF0 0x7F 0xFF 0x0D 0x0A",
                          "RackIn1 9 0xF8"));
}

TEST_F(InjectCommandLine, SendsTheCountOfMessagesAtARate) {
  const auto watch = start("watch", {"watch", "DeckOut2"});
  ASSERT_TRUE(hasTaps(1));
  EXPECT_THAT(control({"inject", "DeckOut2", "--count", "41", "--rate", "200", "0xFE"}), Succeeds());
  EXPECT_EQ(stats()["in"], 41);
  ASSERT_TRUE(watch->hasLines(41));
  EXPECT_THAT(withoutTimes(watch->output()), testing::AllOf(testing::SizeIs(41), testing::Each("DeckOut2 0 0xFE")));
}

TEST_F(InjectCommandLine, ReturnsOnceTheServiceHasTakenEverything) {
  // Frames, windows and what may be on its way are all exceeded.
  EXPECT_THAT(control({"inject", "DeckOut2", "0x90", "1", "1", "--count", "1000000"}), Succeeds());
  EXPECT_EQ(stats()["in"], 1'000'000);
}

TEST_F(InjectCommandLine, LargeMessageArrivesWhole) {
  const auto watch = start("watch", {"watch", "DeckOut2"});
  ASSERT_TRUE(hasTaps(1));
  constexpr std::size_t Size = 100'000;
  std::vector<std::string> words{"inject", "DeckOut2", "--count", "3"};
  std::string expected = "DeckOut2 0";
  for (std::size_t i = 0; i < Size; ++i) {
    std::array<char, 8> byte{};
    std::snprintf(byte.data(), byte.size(), "0x%02zX", i % 251);
    words.emplace_back(byte.data());
    expected.append(" ").append(byte.data());
  }
  EXPECT_THAT(control(words), Succeeds());
  ASSERT_TRUE(watch->hasLines(3));
  EXPECT_TRUE(withoutTimes(watch->output()) == std::vector<std::string>(3, expected));
}

TEST_F(InjectCommandLine, UnknownPortIsReported) {
  EXPECT_THAT(control({"inject", "DeckOut3", "1"}), FailsSaying("streamctl: no such port: DeckOut3"));
  EXPECT_THAT(control({"inject", "Deck\x1b", "1", "--rate", "1", "--count", "9"}),
              FailsSaying("streamctl: no such port: Deck\\x1B"));
  EXPECT_THAT(control({"inject", std::string(64, 'x'), "1"}),
              FailsSaying("streamctl: no such port: " + std::string(64, 'x')));
  EXPECT_EQ(stats()["in"], 0);
}

TEST_F(InjectCommandLine, DiesOfASignal) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto inject = start("inject", {"inject", "DeckOut1", "1", "--count", "1000000000", "--rate", "100"});
    ASSERT_TRUE(hasIn(stats()["in"].get<std::uint64_t>() + 1));
    inject->signal(signal);
    EXPECT_EQ(inject->end(), ExitStatus::signalled(signal));
    EXPECT_EQ(inject->output() + inject->errors(), "");
    // It has taken leave, so it is not among the clients.
    EXPECT_EQ(stats()["clients"].size(), 1U);
  }
}

TEST_F(InjectCommandLine, DiesOfASignalAtFullSpeed) {
  const auto inject = start("inject", {"inject", "DeckOut1", "1", "--count", "1000000000000"});
  ASSERT_TRUE(hasIn(1000));
  inject->signal(SIGINT);
  EXPECT_EQ(inject->end(), ExitStatus::signalled(SIGINT));
  EXPECT_EQ(inject->output() + inject->errors(), "");
}

TEST_F(InjectCommandLine, DiesOfASignalBetweenTwoMessages) {
  // The second message is due in three hours.
  const auto inject = start("inject", {"inject", "DeckOut1", "1", "--count", "2", "--rate", "0.0001"});
  ASSERT_TRUE(hasIn(1));
  inject->signal(SIGINT);
  EXPECT_EQ(inject->end(), ExitStatus::signalled(SIGINT));
  EXPECT_EQ(stats()["in"], 1);
}

TEST_F(InjectCommandLine, SignalThatWasIgnoredStaysIgnored) {
  auto shell = command({});
  shell.program = "sh";
  shell.arguments = {"-c", "trap '' INT; exec streamctl inject DeckOut1 1 --count 1000000000 --rate 100"};
  Background inject(shell, path("inject"));
  ASSERT_TRUE(hasIn(1));
  inject.signal(SIGINT);
  ASSERT_TRUE(hasIn(stats()["in"].get<std::uint64_t>() + 50));
  inject.signal(SIGTERM);
  EXPECT_EQ(inject.end(), ExitStatus::signalled(SIGTERM));
}

TEST_F(InjectCommandLine, SecondSignalDoesNotWaitForTheService) {
  const auto inject = start("inject", {"inject", "DeckOut1", "1", "--count", "1000000000000"});
  ASSERT_TRUE(hasIn(1000));
  daemon_->signal(SIGSTOP);
  EXPECT_TRUE(comesTrue([&] {
    inject->signal(SIGINT);
    return inject->hasEnded();
  }));
  EXPECT_EQ(inject->end(), ExitStatus::signalled(SIGINT));
  daemon_->signal(SIGCONT);
}

TEST_F(InjectCommandLine, SignalDoesNotHideThatTheServiceStopsTaking) {
  const auto inject = start("inject", {"inject", "DeckOut1", "1", "--count", "1000000000", "--rate", "10000"});
  ASSERT_TRUE(hasIn(1));
  daemon_->signal(SIGSTOP);
  std::this_thread::sleep_for(20ms);  // so that something is on its way
  inject->signal(SIGINT);
  EXPECT_EQ(inject->end(), ExitStatus::exited(1));
  EXPECT_EQ(inject->errors(), "streamctl: " + endpoint() + ": the service does not answer\n");
  daemon_->signal(SIGCONT);
}

TEST_F(InjectCommandLine, ReportsThatTheServiceHasGone) {
  const std::vector<std::vector<std::string>> rows{{"--count", "1000000000000"}, {"--rate", "0.01", "--count", "5"}};
  for (const auto& options : rows) {
    std::vector<std::string> words{"inject", "DeckOut1", "0x90", "1", "1"};
    words.insert(words.end(), options.begin(), options.end());
    const auto inject = start("inject", words);
    ASSERT_TRUE(hasIn(1));
    killService();
    EXPECT_EQ(inject->end(), ExitStatus::exited(1));
    EXPECT_EQ(inject->errors(), "streamctl: " + endpoint() + ": connection to the service lost\n");
    EXPECT_EQ(inject->output(), "");
    startServiceAgain();
  }
}

}  // namespace
}  // namespace streamctl

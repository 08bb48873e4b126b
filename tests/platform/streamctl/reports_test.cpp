// list and stats, as processes, on a real service.
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

class Reports : public WithService {};

TEST_F(Reports, ListPrintsATable) {
  const auto listed = control({"list"});
  EXPECT_THAT(listed, Succeeds());
  EXPECT_EQ(listed.standardOutput,
            "GROUP  NAME  SIDE    PORT      CONNECTIONS\n"
            "0      Deck  source  DeckOut1  RackIn2 RackIn1\n"
            "0      Deck  source  DeckOut2  -\n"
            "0      Deck  sink    DeckIn1   -\n"
            "5      Rack  sink    RackIn1   DeckOut1\n"
            "5      Rack  sink    RackIn2   DeckOut1\n");
}

TEST_F(Reports, ListPrintsJson) {
  const auto listed = control({"list", "--json"});
  EXPECT_THAT(listed, Succeeds());
  EXPECT_EQ(nlohmann::json::parse(listed.standardOutput, nullptr, false), nlohmann::json::parse(R"({
    "groups": [{"id": 0, "name": "Deck", "sources": ["DeckOut1", "DeckOut2"], "sinks": ["DeckIn1"]},
               {"id": 5, "name": "Rack", "sources": null, "sinks": ["RackIn1", "RackIn2"]}],
    "connections": [{"source": "DeckOut1", "sink": "RackIn2"}, {"source": "DeckOut1", "sink": "RackIn1"}]})"));
}

TEST_F(Reports, StatsCountKnownTraffic) {
  const auto watch = start("watch", {"watch", "RackIn1", "RackIn2"});
  ASSERT_TRUE(hasTaps(2));
  ASSERT_THAT(control({"inject", "DeckOut1", "0x90", "1", "1", "--count", "1500"}), Succeeds());
  ASSERT_TRUE(watch->hasLines(3000));
  const nlohmann::json now = stats();
  EXPECT_EQ(now["in"], 1500);
  EXPECT_EQ(now["out"], 3000);
  EXPECT_EQ(now["lost"], 0);
  EXPECT_EQ(now["queue_limit"], 8 << 20);
  // The one that injected has taken leave; the one that asks is there.
  ASSERT_EQ(now["clients"].size(), 2U) << now;
  EXPECT_EQ(now["clients"][0]["taps"], 2);
  EXPECT_EQ(now["clients"][0]["out"], 3000);
  EXPECT_EQ(now["clients"][1]["program"], "streamctl");
  EXPECT_EQ(now["clients"][1]["taps"], 0);

  const auto text = control({"stats"});
  EXPECT_THAT(text, Succeeds());
  EXPECT_THAT(linesOf(text.standardOutput),
              testing::IsSupersetOf({"messages in          1500", "messages out         3000"}));
}

TEST_F(Reports, StatsTellOfQueuesAndLosses) {
  const auto watch = start("watch", {"watch", "RackIn1"});
  ASSERT_TRUE(hasTaps(1));
  watch->signal(SIGSTOP);
  // Much more than a queue and a window together.
  const std::vector<std::string> bytes(1000, "0xF7");
  std::vector<std::string> words{"inject", "DeckOut1", "--count", "20000"};
  words.insert(words.end(), bytes.begin(), bytes.end());
  ASSERT_THAT(control(words), Succeeds());
  const nlohmann::json now = stats();
  ASSERT_EQ(now["clients"].size(), 2U) << now;
  EXPECT_GT(now["lost"], 0);
  EXPECT_EQ(now["clients"][0]["lost"], now["lost"]);
  EXPECT_GT(now["clients"][0]["queue_bytes"], 4 << 20);
  EXPECT_LE(now["clients"][0]["queue_bytes"], 8 << 20);
  watch->signal(SIGCONT);
  const auto received = 20000 - now["lost"].get<std::size_t>();
  ASSERT_TRUE(watch->hasLines(received));
  watch->signal(SIGTERM);
  EXPECT_EQ(watch->end(), ExitStatus::exited(0));
  EXPECT_EQ(linesOf(watch->output()).size(), received);
  EXPECT_EQ(watch->errors(), "streamctl: " + now["lost"].dump() + " messages lost: this program reads too slowly\n");
}

TEST_F(Reports, OutputThatCannotBeWrittenIsAFailure) {
  for (const char* word : {"list", "stats", "--help"}) {
    const testsupport::Command shell{
        "sh", {"-c", std::string("exec streamctl ") + word + " >/dev/full"}, command({}).environment, {}};
    EXPECT_THAT(testsupport::runProcess(shell, "", Deadline(Patience)),
                FailsSaying("streamctl: standard output: No space left on device"))
        << word;
  }
}

TEST_F(Reports, ClosedOutputIsAFailure) {
  const testsupport::Command shell{"sh", {"-c", "exec streamctl list >&-"}, command({}).environment, {}};
  EXPECT_THAT(testsupport::runProcess(shell, "", Deadline(Patience)),
              FailsSaying("streamctl: standard output: Bad file descriptor"));
}

}  // namespace
}  // namespace streamctl

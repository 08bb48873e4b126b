// Which service streamctl speaks to, and what it says without one.
#include "tests/platform/streamctl/service_fixture.h"

namespace streamctl {
namespace {

class Endpoints : public WithService {
 protected:
  testsupport::ProcessResult controlAt(const std::optional<std::string>& variable,
                                       std::vector<std::string> words) const {
    auto run = command(std::move(words));
    run.environment.erase("EVTSRV_ENDPOINT");
    run.environment["XDG_RUNTIME_DIR"] = scratch_.path().string();
    if (variable) run.environment["EVTSRV_ENDPOINT"] = *variable;
    return testsupport::runProcess(run, "", Deadline(Patience));
  }
};

const std::vector<std::vector<std::string>> AllCommands{
    {"list"}, {"stats"}, {"inject", "DeckOut1", "1"}, {"watch", "DeckOut1"}};

TEST_F(Endpoints, OptionComesBeforeTheVariable) {
  EXPECT_THAT(controlAt("nonsense", {"--endpoint", endpoint(), "list"}), Succeeds());
  EXPECT_THAT(controlAt("nonsense", {"inject", "DeckOut1", "1", "--endpoint", endpoint()}), Succeeds());
  EXPECT_THAT(controlAt("nonsense", {"list"}),
              FailsSaying("streamctl: nonsense: not an endpoint (ipc://PATH, tcp://HOST:PORT, embedded:FILE)"));
}

TEST_F(Endpoints, WithoutAnyItIsTheWellKnownSocketOnly) {
  const std::string wellKnown = "ipc://" + path("streamd/socket");
  for (const std::optional<std::string>& variable : {std::optional<std::string>(), std::optional<std::string>("")}) {
    for (const auto& words : AllCommands) {
      EXPECT_THAT(controlAt(variable, words), FailsSaying("streamctl: " + wellKnown + ": No such file or directory"));
    }
  }
  scratch_.write("streamd/there", "");
  const testsupport::StreamDaemon there(Daemon, {"--device", path("device.toml"), "--listen", wellKnown});
  EXPECT_THAT(controlAt({}, {"list"}), Succeeds());
}

TEST_F(Endpoints, NobodyListens) {
  killService();
  for (const auto& words : AllCommands) {
    const auto result = control(words);
    EXPECT_EQ(result.status, ExitStatus::exited(1)) << words[0];
    EXPECT_EQ(linesOf(result.standardError).size(), 1U) << result.standardError;
    EXPECT_THAT(result.standardError, testing::HasSubstr(endpoint())) << words[0];
  }
}

TEST_F(Endpoints, EveryCommandTakesLeave) {
  const std::vector<std::vector<std::string>> rows{
      {"list"}, {"stats"}, {"inject", "DeckOut1", "1"}, {"play", Song, "DeckOut1", "--speed", "0"}};
  int left = 0;
  for (const auto& words : rows) {
    EXPECT_THAT(control(words), Succeeds());
    EXPECT_TRUE(daemon_->logged(" has left\n", Deadline(Patience), ++left)) << words[0];
  }
}

TEST_F(Endpoints, ServiceThatSaysNothing) {
  daemon_->signal(SIGSTOP);
  std::vector<std::unique_ptr<Background>> all;
  for (const auto& words : AllCommands) all.push_back(start(words[0], words));
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i]->end(), ExitStatus::exited(1)) << AllCommands[i][0];
    EXPECT_EQ(all[i]->errors(), "streamctl: " + endpoint() + ": the service does not answer\n");
  }
  daemon_->signal(SIGCONT);
}

TEST_F(Endpoints, WrongWordsHaveAStatusOfTheirOwn) {
  const std::vector<std::vector<std::string>> rows{
      {}, {"lists"}, {"inject", "DeckOut1"}, {"inject", "DeckOut1", "256"}, {"watch"}, {"play", "x"}};
  for (const auto& words : rows) {
    const auto result = control(words);
    EXPECT_EQ(result.status, ExitStatus::exited(2)) << testing::PrintToString(words);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(linesOf(result.standardError).size(), 1U) << result.standardError;
    EXPECT_TRUE(result.standardError.starts_with("streamctl: ")) << result.standardError;
  }
}

TEST_F(Endpoints, HelpIsForStandardOutput) {
  for (const char* word : {"list", "inject", "play", "watch", "stats"}) {
    const auto result = control({word, "--help"});
    EXPECT_THAT(result, Succeeds());
    EXPECT_THAT(result.standardOutput, testing::HasSubstr(std::string("streamctl ") + word));
  }
}

TEST_F(Endpoints, VersionIsForStandardOutput) {
  const auto result = control({"--version"});
  EXPECT_THAT(result, Succeeds());
  EXPECT_THAT(result.standardOutput, testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Endpoints, DeviceOfItsOwn) {
  const std::string device = "embedded:" + path("device.toml");
  EXPECT_THAT(control({"--endpoint", device, "list"}).standardOutput, testing::HasSubstr("DeckOut1"));
  EXPECT_THAT(control({"--endpoint", device, "inject", "DeckOut1", "1"}), Succeeds());
  EXPECT_THAT(control({"--endpoint", device, "stats"}), Succeeds());
  EXPECT_EQ(stats()["in"], 0) << "nothing of it reached the other service";
}

}  // namespace
}  // namespace streamctl

// Which service streamctl speaks to, and what it says without one.
#include <unistd.h>

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
    run.environment["JACK_DEFAULT_SERVER"] = "none-of-this-name";
    if (variable) run.environment["EVTSRV_ENDPOINT"] = *variable;
    return testsupport::runProcess(run, "", Deadline(Patience));
  }
};

const std::vector<std::vector<std::string>> AllCommands{
    {"list"}, {"stats"}, {"inject", "DeckOut1", "1"}, {"watch", "DeckOut1"}};

std::vector<std::string> at(const std::string& endpoint, std::vector<std::string> words) {
  words.insert(words.end(), {"--endpoint", endpoint});
  return words;
}

TEST_F(Endpoints, OptionComesBeforeTheVariable) {
  EXPECT_THAT(controlAt("nonsense", {"--endpoint", endpoint(), "list"}), Succeeds());
  EXPECT_THAT(controlAt("nonsense", {"inject", "DeckOut1", "1", "--endpoint", endpoint()}), Succeeds());
  EXPECT_THAT(controlAt("nonsense", {"list"}),
              FailsSaying("streamctl: nonsense: not a valid endpoint (use ipc://PATH or embedded:FILE)"));
}

#ifdef FLOWSCOPE_HAVE_JACK
const std::string Advice = "start streamd, or give --endpoint embedded:jack while a JACK server runs";
#else
const std::string Advice = "start streamd";
#endif

// What is said of the service that is taken on this machine, where no streamd listens and no JACK server runs.
std::string ownServiceTaken() {
  const bool hasSequencer = access("/dev/snd/seq", R_OK | W_OK) == 0;
  return "streamctl: using embedded:" +
         (hasSequencer ? "alsa" : ", a built-in device that only this process sees; " + Advice) + "\n";
}

TEST_F(Endpoints, WithoutAnEndpointTheWellKnownSocketOfStreamdIsUsed) {
  scratch_.write("streamd/there", "");
  const std::string wellKnown = "ipc://" + path("streamd/socket");
  const testsupport::StreamDaemon there(Daemon, {"--device", path("device.toml"), "--listen", wellKnown});
  const std::string taken = "streamctl: using " + wellKnown + '\n';
  scratch_.write("song.mid", std::string("MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0\4\0\xFF\x2F\0", 26));
  const std::vector<std::vector<std::string>> rows{
      {"list"}, {"inject", "DeckOut1", "1"}, {"play", path("song.mid"), "DeckOut1"}};
  for (const std::optional<std::string>& variable : {std::optional<std::string>(), std::optional<std::string>("")}) {
    for (const auto& words : rows) {
      const auto result = controlAt(variable, words);
      EXPECT_EQ(result.status, ExitStatus::exited(0)) << words[0];
      EXPECT_EQ(result.standardError, taken) << words[0];
    }
    EXPECT_EQ(controlAt(variable, {"watch", "Nowhere"}).standardError, taken + "streamctl: no such port: Nowhere\n");
  }
  EXPECT_THAT(controlAt({}, {"list"}).standardOutput, testing::HasSubstr("DeckOut1"));
  // Who looks at counts has nothing to choose.
  EXPECT_THAT(controlAt({}, {"stats"}), Succeeds());
  EXPECT_THAT(controlAt(wellKnown, {"list"}), Succeeds());
}

TEST_F(Endpoints, WithoutAnEndpointAndStreamdTheServiceOfTheConsoleIsUsed) {
  const std::vector<std::vector<std::string>> rows{{"inject", "Nowhere", "1"}, {"watch", "Nowhere"}};
  for (const auto& words : rows) {
    const auto result = controlAt({}, words);
    EXPECT_EQ(result.status, ExitStatus::exited(1)) << words[0];
    EXPECT_EQ(result.standardError, ownServiceTaken() + "streamctl: no such port: Nowhere\n") << words[0];
  }
  const auto list = controlAt({}, {"list"});
  EXPECT_EQ(list.status, ExitStatus::exited(0));
  EXPECT_EQ(list.standardError, ownServiceTaken());
  EXPECT_THAT(list.standardOutput, testing::StartsWith("GROUP "));
}

TEST_F(Endpoints, StatsNeedAStreamd) {
  EXPECT_THAT(controlAt({}, {"stats"}),
              FailsSaying("streamctl: ipc://" + path("streamd/socket") + ": No such file or directory; start streamd"));
}

// One that does not answer is no reason to give up.
TEST_F(Endpoints, WithoutAnEndpointASilentServiceIsReportedAndSkipped) {
  scratch_.write("streamd/there", "");
  const std::string wellKnown = "ipc://" + path("streamd/socket");
  testsupport::StreamDaemon there(Daemon, {"--device", path("device.toml"), "--listen", wellKnown});
  there.signal(SIGSTOP);
  const auto result = controlAt({}, {"list"});
  there.signal(SIGCONT);
  EXPECT_EQ(result.status, ExitStatus::exited(0));
  EXPECT_EQ(result.standardError, "streamctl: " + wellKnown + ": the service does not answer\n" + ownServiceTaken());
}

TEST_F(Endpoints, RefusedConnectionIsReportedWithAdvice) {
  killService();
  for (const auto& words : AllCommands) {
    const std::string line = "streamctl: " + endpoint() + ": Connection refused; start streamd --listen " + endpoint();
    EXPECT_THAT(control(words), FailsSaying(line)) << words[0];
    EXPECT_THAT(control(at(endpoint(), words)), FailsSaying(line)) << words[0];
  }
}

TEST_F(Endpoints, WhereStreamdListensUnaskedTheAdviceIsShort) {
  const std::string wellKnown = "ipc://" + path("streamd/socket");
  const std::string line = "streamctl: " + wellKnown + ": No such file or directory; start streamd";
  EXPECT_THAT(controlAt(wellKnown, {"list"}), FailsSaying(line));
  EXPECT_THAT(controlAt({}, at(wellKnown, {"stats"})), FailsSaying(line));
}

TEST_F(Endpoints, AdviceIsGivenForSocketsOnly) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"embedded:/nowhere", "embedded:/nowhere: /nowhere: No such file or directory"},
      {"tcp://host:1", "tcp://host:1: network services are not supported"},
      {"ipc://" + path("device.toml/x"),
       "ipc://" + path("device.toml/x") + ": Not a directory; start streamd --listen ipc://" + path("device.toml/x")},
      {"ipc://", "ipc://: the path is missing (use ipc://PATH)"}};
  for (const auto& [where, line] : rows) EXPECT_THAT(controlAt(where, {"list"}), FailsSaying("streamctl: " + line));
}

TEST_F(Endpoints, EveryCommandSendsGoodbye) {
  const std::vector<std::vector<std::string>> rows{
      {"list"}, {"stats"}, {"inject", "DeckOut1", "1"}, {"play", Song, "DeckOut1", "--speed", "0"}};
  int left = 0;
  for (const auto& words : rows) {
    EXPECT_THAT(control(words), Succeeds());
    EXPECT_TRUE(daemon_->logged(" disconnected\n", Deadline(Patience), ++left)) << words[0];
  }
}

TEST_F(Endpoints, SilentServiceIsReported) {
  daemon_->signal(SIGSTOP);
  std::vector<std::unique_ptr<Background>> all;
  for (const auto& words : AllCommands) all.push_back(start(words[0], words));
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i]->end(), ExitStatus::exited(1)) << AllCommands[i][0];
    EXPECT_EQ(all[i]->errors(), "streamctl: " + endpoint() + ": the service does not answer\n");
  }
  daemon_->signal(SIGCONT);
}

TEST_F(Endpoints, WrongArgumentsHaveAStatusOfTheirOwn) {
  const std::vector<std::vector<std::string>> rows{
      {}, {"lists"}, {"inject", "DeckOut1"}, {"inject", "DeckOut1", "256"}, {"watch"}, {"play", "x"}};
  for (const auto& words : rows) {
    const auto result = control(words);
    EXPECT_EQ(result.status, ExitStatus::exited(2)) << testing::PrintToString(words);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(linesOf(result.standardError).size(), 1U) << result.standardError;
    EXPECT_TRUE(result.standardError.starts_with("streamctl: ")) << result.standardError;
  }
  EXPECT_EQ(control({"con"}).standardError,
            "streamctl: no such command: con; the commands are list, inject, play, watch, stats (see --help)\n");
}

TEST_F(Endpoints, AnEmptyOneIsRefused) {
  const std::vector<std::vector<std::string>> rows{
      {"--endpoint=", "list"}, {"list", "--endpoint="}, {"--endpoint", "", "list"}, {"list", "--endpoint", ""}};
  for (const auto& words : rows) {
    const auto result = control(words);
    EXPECT_EQ(result.status, ExitStatus::exited(2)) << testing::PrintToString(words);
    EXPECT_EQ(result.standardError, "streamctl: --endpoint: is empty; give ipc://PATH or embedded:FILE (see --help)\n");
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

TEST_F(Endpoints, EmbeddedServiceHasADeviceOfItsOwn) {
  const std::string device = "embedded:" + path("device.toml");
  EXPECT_THAT(control({"--endpoint", device, "list"}).standardOutput, testing::HasSubstr("DeckOut1"));
  EXPECT_THAT(control({"--endpoint", device, "inject", "DeckOut1", "1"}), Succeeds());
  EXPECT_THAT(control({"--endpoint", device, "stats"}), Succeeds());
  EXPECT_EQ(stats()["in"], 0) << "nothing of it reached the other service";
}

}  // namespace
}  // namespace streamctl

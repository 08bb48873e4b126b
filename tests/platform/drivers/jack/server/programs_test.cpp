// The programs on a JACK server.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/drivers/jack/server/jack_peer.h"
#include "tests/platform/drivers/jack/server/jack_server.h"
#include "tests/platform/drivers/jack/server/peer_process.h"
#include "tests/platform/midi/smf_maker.h"
#include "tests/platform/streamd/console.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testsupport::Deadline;
using testsupport::ExitStatus;
using testsupport::StreamDaemon;

constexpr auto Patience = 20s;

// What comes of a program that is run at an endpoint to its end.
testsupport::ProcessResult run(const std::string& endpoint, const std::string& program,
                               std::vector<std::string> arguments, const std::string& locale = "C") {
  auto environment = JackServer::environment();
  environment["EVTSRV_ENDPOINT"] = endpoint;
  environment["LC_ALL"] = locale;
  return runProcess({FLOWSCOPE_BINARY_DIR "/" + program, std::move(arguments), environment, {}}, {},
                    Deadline(Patience));
}

// What it prints.
std::string printed(const std::string& endpoint, const std::string& program, std::vector<std::string> arguments,
                    const std::string& locale = "C") {
  const auto result = run(endpoint, program, std::move(arguments), locale);
  EXPECT_EQ(result.status, ExitStatus::exited(0)) << result.standardError;
  EXPECT_EQ(result.standardError, "");
  return result.standardOutput;
}

void sendOutputTo(testsupport::ChildDescriptors& descriptors, const std::string& file) {
  descriptors.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  descriptors.open(STDOUT_FILENO, file, O_WRONLY | O_CREAT);
  descriptors.open(STDERR_FILENO, "/dev/null", O_WRONLY);
}

// streamd with JACK, whose environment says which server.
std::unique_ptr<StreamDaemon> daemonOnJack(const std::string& locale = "C", const std::vector<std::string>& more = {}) {
  std::vector<std::string> arguments{"LC_ALL=" + locale};
  for (const auto& [name, value] : JackServer::environment()) {
    if (name.starts_with("JACK_")) arguments.push_back(name + "=" + value);
  }
  arguments.insert(arguments.end(), {FLOWSCOPE_BINARY_DIR "/streamd", "--driver", "jack"});
  arguments.insert(arguments.end(), more.begin(), more.end());
  return std::make_unique<StreamDaemon>("/usr/bin/env", std::move(arguments));
}

int linesWith(const std::string& file, const std::string& text) {
  int count = 0;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) count += line.find(text) != std::string::npos ? 1 : 0;
  return count;
}

class JackPrograms : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
    server.emplace();
    keys.emplace("keys", "out", "in");
    synth.emplace("synth", "out", "in");
  }

  std::optional<JackServer> server;
  std::optional<PeerProcess> keys;
  std::optional<PeerProcess> synth;
};

TEST_F(JackPrograms, AConsoleInOneProcessConnectsAndLists) {
  printed("embedded:jack", "flowscope", {"-c", "con /Midi/Source/keys/keys:out /Midi/Sink/synth/synth:in"});
  EXPECT_THAT(server->tool("jack_lsp", {"-c"}), HasSubstr("keys:out\n   synth:in\n"));
  EXPECT_THAT(printed("embedded:jack", "flowscope", {"-c", "ls /Midi/Source/keys/keys:out"}), HasSubstr("synth"));
  server->tool("jack_disconnect", {"keys:out", "synth:in"});
  EXPECT_THAT(printed("embedded:jack", "flowscope", {"-c", "ls /Midi/Source/keys/keys:out"}), Not(HasSubstr("synth")));
}

TEST_F(JackPrograms, NamesBeyondAsciiAreShownWhereTheLocaleHasThem) {
  std::optional<PeerProcess> peer;
  peer.emplace("K\xC3\xB6ln\xE2\x80\xAE", "out", "in");
  EXPECT_THAT(printed("embedded:jack", "streamctl", {"list"}, "C.UTF-8"),
              HasSubstr(" K\xC3\xB6ln\\xE2\\x80\\xAE:out "));
  EXPECT_THAT(printed("embedded:jack", "streamctl", {"list"}), HasSubstr(" K\\xC3\\xB6ln\\xE2\\x80\\xAE:out "));
  const auto logged = [&](const std::string& locale, const std::string& line) {
    const auto daemon = daemonOnJack(locale);
    if (!peer) peer.emplace("K\xC3\xB6ln\xE2\x80\xAE", "out", "in");
    printed(daemon->endpoint(), "streamctl", {"list"});
    peer.reset();
    return daemon->logged(line, Deadline(Patience));
  };
  EXPECT_TRUE(logged("C.UTF-8", "client \"K\xC3\xB6ln\\xE2\\x80\\xAE\" disconnected"));
  EXPECT_TRUE(logged("C", "client \"K\\xC3\\xB6ln\\xE2\\x80\\xAE\" disconnected"));
}

TEST_F(JackPrograms, ADaemonSeesConnectionsOfOtherClients) {
  const auto daemon = daemonOnJack();
  server->tool("jack_connect", {"keys:out", "synth:in"});
  std::string listed;
  for (const Deadline deadline(Patience); !deadline.passed() && listed.find("synth") == std::string::npos;) {
    listed = printed(daemon->endpoint(), "flowscope", {"-c", "ls /Midi/Source/keys/keys:out"});
  }
  EXPECT_THAT(listed, HasSubstr("synth"));
  printed(daemon->endpoint(), "flowscope", {"-c", "dis /Midi/Source/keys/keys:out"});
  EXPECT_THAT(server->tool("jack_lsp", {"-c"}), Not(HasSubstr("   synth:in")));
}

TEST_F(JackPrograms, MessagesInjectedIntoASinkArriveThereOnly) {
  const auto daemon = daemonOnJack();
  printed(daemon->endpoint(), "streamctl", {"inject", "--group", "3", "synth:in", "0x90", "60", "100"});
  EXPECT_EQ(synth->arrived(), "93 3C 64");
  const auto refused =
      run(daemon->endpoint(), "streamctl", {"inject", "--group", "16", "synth:in", "0x90", "60", "100"});
  EXPECT_EQ(refused.status, ExitStatus::exited(1));
  EXPECT_EQ(refused.standardError,
            "streamctl: 1 message not sent: another system has no form for it, such as for a group id above 15\n");
  EXPECT_TRUE(daemon->logged(
      "jack: 1 message for \"synth:in\" not sent: group id and channel do not form a MIDI channel (0 to 15)\n",
      Deadline(Patience)))
      << daemon->log();
  printed(daemon->endpoint(), "streamctl", {"inject", "keys:in", "0x90", "61", "100"});
  EXPECT_EQ(keys->arrived(), "90 3D 64");
}

constexpr const char* ThreeUnsendable =
    "3 messages not sent: another system has no form for them, such as for a group id above 15\n";

TEST_F(JackPrograms, SenderLearnsOfMessagesThatJackHasNoFormFor) {
  const auto daemon = daemonOnJack();
  const std::vector<std::string> inject{"inject", "--group", "16", "--count", "3", "synth:in", "0x90", "60", "100"};
  for (const std::string& endpoint : {daemon->endpoint(), std::string("embedded:jack")}) {
    const auto refused = run(endpoint, "streamctl", inject);
    EXPECT_EQ(refused.status, ExitStatus::exited(1));
    EXPECT_EQ(refused.standardError, std::string("streamctl: ") + ThreeUnsendable);
    EXPECT_EQ(refused.standardOutput, "");
  }
  const auto half = run(daemon->endpoint(), "streamctl", {"inject", "synth:in", "0x90", "60"});
  EXPECT_EQ(half.status, ExitStatus::exited(1)) << "half a message has no form either";
  printed(daemon->endpoint(), "streamctl", {"inject", "--group", "16", "keys:out", "0x90", "60", "100"});
  EXPECT_THAT(printed(daemon->endpoint(), "streamctl", {"stats"}), HasSubstr("\nmessages unsendable  4\n"));
  EXPECT_THAT(printed(daemon->endpoint(), "streamctl", {"stats", "--json"}), HasSubstr("\"unsendable\": 4,"));
}

TEST_F(JackPrograms, SenderLearnsOfMessagesThatReachJackFromAnotherDevice) {
  const auto daemon = daemonOnJack("C", {"--driver", "builtin"});
  printed(daemon->endpoint(), "flowscope", {"-c", "con /Midi/Source/Thru/ThruOut1 /Midi/Sink/synth/synth:in"});
  const auto inject = [&](const std::string& group) {
    return run(daemon->endpoint(), "streamctl",
               {"inject", "--group", group, "--count", "3", "ThruIn1", "0x90", "1", "1"});
  };
  const auto refused = inject("16");
  EXPECT_EQ(refused.status, ExitStatus::exited(1));
  EXPECT_EQ(refused.standardError, std::string("streamctl: ") + ThreeUnsendable);
  EXPECT_EQ(inject("3").status, ExitStatus::exited(0));
  EXPECT_EQ(synth->arrived(), "93 01 01");
}

TEST_F(JackPrograms, ConsoleReportsMessagesThatJackHasNoFormFor) {
  const testsupport::ScratchFolder folder;
  folder.write("song", "0x90 0x30 0x64 16 0x90 0x31 0x64 17\n0x90 0x32 0x64 2 0xF0 0x01 0x90 0xF7 0\n");
  const std::string from = "from " + (folder.path() / "song").string() + " /Midi/Sink/synth/synth:in";
  const auto daemon = daemonOnJack();
  for (const std::string& endpoint : {daemon->endpoint(), std::string("embedded:jack")}) {
    const auto console = run(endpoint, "flowscope", {"-c", from});
    EXPECT_EQ(console.status, ExitStatus::exited(0));
    EXPECT_EQ(console.standardError, std::string("flowscope: ") + ThreeUnsendable);
    EXPECT_EQ(synth->arrived(), "92 32 64") << "the others are sent";
  }
  streamd::Console console(daemon->endpoint());
  console.type(from);
  EXPECT_TRUE(console.shows(std::string("flowscope: 3 messages not sent: another system has no form for them")));
}

TEST_F(JackPrograms, MessagesSentBeforeAProgramEndsArrive) {
  const testsupport::ScratchFolder folder;
  std::string song;
  for (int note = 30; note < 46; ++note) song += "0x90 0x" + std::to_string(note) + " 0x64 2\n";
  folder.write("song", song);
  const std::string file = folder.path() / "song";
  printed("embedded:jack", "streamctl", {"inject", "--count", "3", "synth:in", "0x90", "60", "100"});
  for (int count = 0; count < 3; ++count) EXPECT_EQ(synth->arrived(), "90 3C 64");
  printed("embedded:jack", "flowscope", {"-c", "from " + file + " /Midi/Sink/synth/synth:in"});
  for (int note = 30; note < 46; ++note) EXPECT_EQ(synth->arrived(), "92 " + std::to_string(note) + " 64");
}

TEST_F(JackPrograms, SoundingNotesEndBeforeAPlayerDiesOfASignal) {
  const testsupport::ScratchFolder folder;
  const std::string song = folder.path() / "song.mid";
  // The note-off would come in three hours.
  midi::writeFile(song, midi::smf("00 00 00 01 00 60", {"00 93 3C 40 81 80 80 00 83 3C 40 00 FF 2F 00"}));
  auto environment = JackServer::environment();
  environment["EVTSRV_ENDPOINT"] = "embedded:jack";
  testsupport::ChildDescriptors descriptors;
  testsupport::Child play({FLOWSCOPE_BINARY_DIR "/streamctl", {"play", song, "synth:in"}, environment, {}},
                          descriptors);
  EXPECT_EQ(synth->arrived(), "93 3C 40");
  play.signal(SIGINT);
  EXPECT_EQ(play.wait(Deadline(Patience)), ExitStatus::signalled(SIGINT));
  EXPECT_EQ(synth->arrived(), "83 3C 40");
}

TEST_F(JackPrograms, WithoutASettingStreamctlUsesTheServerAndReportsIt) {
  if (access("/dev/snd/seq", R_OK | W_OK) == 0) GTEST_SKIP() << "the sequencer of this machine comes first";
  const testsupport::ScratchFolder folder;
  auto environment = JackServer::environment();
  environment.erase("EVTSRV_ENDPOINT");
  environment["XDG_RUNTIME_DIR"] = folder.path();  // where no streamd listens
  const auto run = [&](std::vector<std::string> words) {
    return runProcess({FLOWSCOPE_BINARY_DIR "/streamctl", std::move(words), environment, {}}, {}, Deadline(Patience));
  };
  const auto list = run({"list"});
  EXPECT_EQ(list.status, ExitStatus::exited(0));
  EXPECT_EQ(list.standardError, "streamctl: using embedded:jack\n");
  EXPECT_THAT(list.standardOutput, HasSubstr("synth:in"));
  EXPECT_EQ(run({"inject", "synth:in", "0x90", "60", "100"}).standardError, "streamctl: using embedded:jack\n");
  EXPECT_EQ(synth->arrived(), "90 3C 64");
}

TEST_F(JackPrograms, MessagesOfAConnectionAreSeenOnceAtEitherEnd) {
  const auto daemon = daemonOnJack();
  server->tool("jack_connect", {"keys:out", "synth:in"});
  const testsupport::ScratchFolder folder;
  const std::string seen = folder.path() / "seen";
  testsupport::ChildDescriptors descriptors;
  sendOutputTo(descriptors, seen);
  auto environment = JackServer::environment();
  environment["EVTSRV_ENDPOINT"] = daemon->endpoint();
  const testsupport::Child watch(
      {FLOWSCOPE_BINARY_DIR "/streamctl", {"watch", "keys:out", "synth:in"}, environment, {}}, descriptors);
  // Ticks until both taps stand.
  const Deadline deadline(Patience);
  while (!deadline.passed() && (linesWith(seen, "keys:out") == 0 || linesWith(seen, "synth:in") == 0)) {
    keys->emit("F8");
    std::this_thread::sleep_for(20ms);
  }
  keys->emit("94 01 02");
  keys->emit("84 01 02");
  while (!deadline.passed() && linesWith(seen, "0x80") < 2) std::this_thread::sleep_for(5ms);
  for (const char* text : {"keys:out 4 0x90 0x01 0x02", "synth:in 4 0x90 0x01 0x02", "keys:out 4 0x80 0x01 0x02",
                           "synth:in 4 0x80 0x01 0x02"}) {
    EXPECT_EQ(linesWith(seen, text), 1) << text;
  }
}

// Groups have names for 42 at a time, not for the first 42 of a service's life.
TEST_F(JackPrograms, ClientsHaveNamesHoweverManyHaveComeAndGone) {
  const auto daemon = daemonOnJack();
  for (int number = 0; number < 100; ++number) {
    const std::string name = "p" + std::to_string(number);
    {
      const JackPeer passing(name, {"out"}, {});
      ASSERT_TRUE(daemon->logged("jack: group \"" + name + "\" was added: \"" + name + ":out\"\n", Deadline(Patience)))
          << daemon->log();
    }
    ASSERT_TRUE(daemon->logged("jack: client \"" + name + "\" disconnected\n", Deadline(Patience))) << daemon->log();
  }
  streamd::Console early(daemon->endpoint());
  PeerProcess last("last", "out", "in");
  EXPECT_TRUE(early.shows("group \"last\" was added; restart the console to list it")) << "but not this one";

  const std::string listed = printed(daemon->endpoint(), "flowscope", {"-c", "ls -r /Midi/Source"});
  EXPECT_THAT(listed, HasSubstr("last:out"));
  EXPECT_THAT(listed, Not(HasSubstr("[]")));
  printed(daemon->endpoint(), "flowscope", {"-c", "con /Midi/Source/last/last:out /Midi/Sink/synth/synth:in"});
  EXPECT_THAT(server->tool("jack_lsp", {"-c"}), HasSubstr("last:out\n   synth:in\n"));
  streamd::Console console(daemon->endpoint());
  console.type("cat /Midi/Source/last/last:out");
  // JACK loses what falls into a period for which somebody was late.
  for (int turn = 0; turn < 30; ++turn) {
    std::this_thread::sleep_for(20ms);
    last.emit("94 01 02");
  }
  EXPECT_TRUE(console.shows("0x90 0x01 0x02 0x04"));
}

TEST_F(JackPrograms, JacksOwnDumpSeesInjectedMessages) {
  const testsupport::ScratchFolder folder;
  const std::string heard = folder.path() / "heard";
  testsupport::ChildDescriptors descriptors;
  sendOutputTo(descriptors, heard);
  const testsupport::Child dump({"stdbuf", {"-oL", "jack_midi_dump", "dump"}, JackServer::environment(), {}},
                                descriptors);
  const Deadline deadline(Patience);
  while (!deadline.passed() && server->tool("jack_lsp").find("dump:input") == std::string::npos) {
    std::this_thread::sleep_for(20ms);
  }
  const auto daemon = daemonOnJack();
  printed(daemon->endpoint(), "streamctl", {"inject", "--group", "3", "dump:input", "0x90", "60", "100"});
  while (!deadline.passed() && linesWith(heard, "93 3c 64") == 0) std::this_thread::sleep_for(20ms);
  EXPECT_EQ(linesWith(heard, "93 3c 64"), 1);
}

TEST_F(JackPrograms, ADaemonOutlivesTheServer) {
  const auto daemon = daemonOnJack();
  server->kill();
  synth.reset();
  keys.reset();
  EXPECT_TRUE(daemon->logged("connection to the JACK server lost\n", Deadline(Patience))) << daemon->log();
  server->startAlone();
  EXPECT_TRUE(daemon->logged("connected to the JACK server again\n", Deadline(Patience))) << daemon->log();
  keys.emplace("keys", "out", "in");
  // JACK loses what falls into a period for which somebody was late.
  std::optional<std::string> arrived;
  for (int turn = 0; turn < 5 && !arrived; ++turn) {
    printed(daemon->endpoint(), "streamctl", {"inject", "keys:in", "0x90", "61", "100"});
    arrived = keys->arrived();
  }
  EXPECT_EQ(arrived, "90 3D 64") << daemon->log() << server->tool("jack_lsp", {"-c"});
  daemon->signal(SIGTERM);
  EXPECT_EQ(daemon->waitForExit(Deadline(Patience)), ExitStatus::exited(0));
}

TEST_F(JackPrograms, CommandsOfTheConsoleInheritNoSocketOfTheServer) {
  const auto plain =
      runProcess({"/bin/sh", {"-c", "ls /proc/self/fd"}, JackServer::environment(), {}}, {}, Deadline(Patience));
  EXPECT_EQ(printed("embedded:jack", "flowscope", {"-c", "cat /Midi/Source/*/*;$ls /proc/self/fd"}),
            plain.standardOutput);
}

}  // namespace
}  // namespace drivers::jack

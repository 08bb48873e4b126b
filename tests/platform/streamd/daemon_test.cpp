// streamd as a process: what it says, how it ends, and what it leaves behind.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/streamd/injector.h"
#include "tests/platform/streamd/raw_socket.h"
#include "tests/support/case_runner.h"
#include "tests/support/process.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testsupport::Deadline;
using testsupport::ExitStatus;

namespace fs = std::filesystem;

const std::string Streamd = FLOWSCOPE_BINARY_DIR "/streamd";
const std::string Flowscope = FLOWSCOPE_BINARY_DIR "/flowscope";
constexpr auto Patience = 20s;

std::string textOf(const std::string& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

// What a program needs besides, also to be watched by a sanitizer as this one is.
std::map<std::string, std::string> environmentWith(std::map<std::string, std::string> more) {
  more.merge(testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR));
  return more;
}

testsupport::ProcessResult run(std::vector<std::string> arguments, std::map<std::string, std::string> more = {}) {
  return testsupport::runProcess({Streamd, std::move(arguments), environmentWith(std::move(more)), {}}, "",
                                 Deadline(Patience));
}

// The source groups that a console shows of the service at an endpoint; without a service, none.
std::string groupsAt(const std::string& endpoint) {
  return testsupport::runProcess(
             {Flowscope, {"-c", "ls /Midi/Source"}, environmentWith({{"EVTSRV_ENDPOINT", endpoint}}), {}}, "",
             Deadline(Patience))
      .standardOutput;
}

TEST(Streamd, EndsOnSignalsAndRemovesItsSocket) {
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    testsupport::StreamDaemon daemon(Streamd);
    EXPECT_TRUE(fs::is_socket(daemon.socket()));
    daemon.signal(number);
    EXPECT_EQ(daemon.waitForExit(Deadline(Patience)), ExitStatus::exited(0)) << number;
    EXPECT_FALSE(fs::exists(daemon.socket())) << number;
    EXPECT_FALSE(fs::exists(daemon.socket() + ".lock")) << number;
  }
}

TEST(Streamd, SocketIsForItsOwnerAndGroup) {
  const testsupport::StreamDaemon daemon(Streamd);
  struct stat found {};
  ASSERT_EQ(stat(daemon.socket().c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777U, 0660U);
}

TEST(Streamd, SecondDaemonAtOneSocketFailsAndTheFirstGoesOn) {
  const testsupport::StreamDaemon daemon(Streamd);
  const auto second = run({"--listen", daemon.endpoint()});
  EXPECT_EQ(second.status, ExitStatus::exited(1));
  EXPECT_THAT(second.standardError,
              HasSubstr("streamd: " + daemon.endpoint() + ": a service is already listening there\n"));
  EXPECT_THAT(groupsAt(daemon.endpoint()), HasSubstr("Keyboard"));
}

TEST(Streamd, ReplacesTheSocketOfAKilledDaemon) {
  testsupport::StreamDaemon daemon(Streamd);
  daemon.signal(SIGKILL);
  ASSERT_TRUE(daemon.waitForExit(Deadline(Patience)));
  ASSERT_TRUE(fs::is_socket(daemon.socket()));
  daemon.restart();
  EXPECT_THAT(groupsAt(daemon.endpoint()), HasSubstr("Keyboard"));
}

TEST(Streamd, ListensAtSeveralPlaces) {
  const testsupport::ScratchFolder folder;
  const std::string other = "ipc://" + (folder.path() / "new" / "other").string();
  const testsupport::StreamDaemon daemon(Streamd, {"--listen", other});
  ASSERT_TRUE(daemon.logged(": listening\n", Deadline(Patience), 2));
  EXPECT_THAT(groupsAt(other), HasSubstr("Keyboard"));
  EXPECT_THAT(groupsAt(daemon.endpoint()), HasSubstr("Keyboard"));
}

TEST(Streamd, ListensWhereClientsLookFirst) {
  const testsupport::ScratchFolder folder;
  const auto environment = environmentWith({{"XDG_RUNTIME_DIR", folder.path()}, {"EVTSRV_ENDPOINT", ""}});
  const std::string log = folder.path() / "log";
  testsupport::ChildDescriptors descriptors;
  descriptors.open(STDERR_FILENO, log, O_WRONLY | O_CREAT);
  testsupport::Child daemon({Streamd, {}, environment, {}}, descriptors);
  const Deadline deadline(Patience);
  while (!deadline.passed() && textOf(log).find("listening") == std::string::npos) std::this_thread::sleep_for(2ms);
  const auto console = testsupport::runProcess({Flowscope, {"-c", "ls"}, environment, {}}, "", deadline);
  EXPECT_EQ(console.standardError, "");
  EXPECT_THAT(textOf(log), HasSubstr("streamd: flowscope (process "));
  daemon.signal(SIGTERM);
  EXPECT_EQ(daemon.wait(deadline), ExitStatus::exited(0));
}

TEST(Streamd, ConsoleOnABareMachineHasTheBuiltInDevice) {
  if (fs::exists("/dev/snd/seq")) GTEST_SKIP() << "this machine has an ALSA sequencer, which comes first";
  const testsupport::ScratchFolder folder;
  const auto console = testsupport::runProcess(
      {Flowscope,
       {"-c", "ls /Midi/Source/Clock"},
       environmentWith(
           {{"XDG_RUNTIME_DIR", folder.path()}, {"EVTSRV_ENDPOINT", ""}, {"JACK_DEFAULT_SERVER", "flowscope-nobody"}}),
       {}},
      "", Deadline(Patience));
  EXPECT_THAT(console.standardOutput, HasSubstr("ClockOut1"));
  EXPECT_EQ(console.standardError, "");
}

TEST(Streamd, ServesADeviceFile) {
  const testsupport::ScratchFolder folder;
  folder.write("box.toml", "[[group]]\nid = 3\nname = \"Box\"\nsources = 2\nsinks = 0\n");
  const std::string file = folder.path() / "box.toml";
  const testsupport::StreamDaemon daemon(Streamd, {"--device", file});
  EXPECT_THAT(daemon.log(), HasSubstr("streamd: " + file + ": 1 group, 2 sources, 0 sinks\n"));
}

TEST(Streamd, DriversStandSideBySide) {
  const testsupport::ScratchFolder folder;
  folder.write("box.toml", "[[group]]\nid = 3\nname = \"Thru\"\nsources = 1\nsinks = 1\n");
  const std::string file = folder.path() / "box.toml";
  const testsupport::StreamDaemon daemon(Streamd, {"--device", file, "--driver", "builtin", "--driver", "builtin"});
  EXPECT_THAT(daemon.log(),
              HasSubstr("streamd: built-in device, built-in device, " + file + ": 19 groups, 25 sources, 29 sinks\n"));
  const std::string streamctl = FLOWSCOPE_BINARY_DIR "/streamctl";
  const auto answer = [&](const std::string& program, const std::vector<std::string>& words) {
    return testsupport::runProcess({program, words, environmentWith({{"EVTSRV_ENDPOINT", daemon.endpoint()}}), {}}, "",
                                   Deadline(Patience));
  };
  const auto connected = answer(Flowscope, {"-c",
                                            "con /Midi/Source/Keyboard_2 /Midi/Sink/Thru_3; "
                                            "ls -r /Midi/Source/Keyboard_2"});
  EXPECT_THAT(connected.standardOutput, HasSubstr("ThruIn1_3")) << "from one device to another";
  EXPECT_THAT(
      answer(streamctl, {"list"}).standardOutput,
      testing::ContainsRegex("9 +Keyboard_2 +source +KeyboardOut1_2 +ToneGeneratorIn1_2 SequencerIn1_2 ThruIn1_3"));
}

TEST(Streamd, LogsClientsThatConnectAndLeave) {
  const testsupport::StreamDaemon daemon(Streamd);
  EXPECT_THAT(daemon.log(), HasSubstr("streamd: built-in device: 9 groups, 12 sources, 14 sinks\n"));
  groupsAt(daemon.endpoint());
  EXPECT_TRUE(daemon.logged(") disconnected\n", Deadline(Patience)));
  EXPECT_THAT(daemon.log(), testing::ContainsRegex("streamd: flowscope \\(process [0-9]+\\) connected\n"));
}

TEST(Streamd, WrongOptionsAreAUsageError) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"--nonsense"},
                                                                     {"word"},
                                                                     {"--listen"},
                                                                     {"--driver", "nonsense"},
                                                                     {"--driver", "/dev/null"},
                                                                     {"--driver"},
                                                                     {"--queue-bytes", "1023"},
                                                                     {"--queue-bytes", "2147483649"},
                                                                     {"--queue-bytes", "much"},
                                                                     {"--memory", "16777215"},
                                                                     {"--memory", "15MiB"},
                                                                     {"--memory", "2t"},
                                                                     {"--memory", "1.5GiB"},
                                                                     {"--memory", "much"},
                                                                     {"--memory", ""}}) {
    const auto result = run(arguments);
    EXPECT_EQ(result.status, ExitStatus::exited(2)) << arguments[0];
    EXPECT_THAT(result.standardError, testing::MatchesRegex("streamd: [ -~]+ \\(see --help\\)\n"));
    EXPECT_EQ(result.standardOutput, "") << arguments[0];
  }
}

TEST(Streamd, ClientWithTooManyConnectionsHarmsNobody) {
  testsupport::StreamDaemon daemon("/bin/sh", {"-c", "ulimit -n 64; exec \"$0\" \"$@\"", Streamd});
  streamd::Injector before(daemon.socket());
  std::vector<std::unique_ptr<streamd::RawSocket>> many;
  while (many.size() < 100) many.push_back(std::make_unique<streamd::RawSocket>(daemon.socket()));
  const std::string line = "streamd: new clients have to wait: Too many open files\n";
  EXPECT_TRUE(daemon.logged(line, Deadline(Patience)));
  before.inject("MidiDinOut1", 10);
  EXPECT_EQ(before.stats().clients.at(0).in, 10U) << "who was there before goes on";
  many.clear();
  EXPECT_THAT(groupsAt(daemon.endpoint()), HasSubstr("Keyboard")) << daemon.log();
  EXPECT_EQ(daemon.log().find(line, daemon.log().find(line) + 1), std::string::npos) << "once";
}

TEST(Streamd, TakesAsManyDescriptorsAsItMay) {
  testsupport::StreamDaemon daemon("/bin/sh", {"-c", "ulimit -S -n 64; exec \"$0\" \"$@\"", Streamd});
  std::vector<std::unique_ptr<streamd::RawSocket>> many;
  while (many.size() < 100) many.push_back(std::make_unique<streamd::RawSocket>(daemon.socket()));
  EXPECT_THAT(groupsAt(daemon.endpoint()), HasSubstr("Keyboard"));
}

TEST(Streamd, ClosedStandardErrorBecomesDevNull) {
  const testsupport::ScratchFolder folder;
  const std::string socket = folder.path() / "socket";
  testsupport::ChildDescriptors descriptors;
  testsupport::Child daemon(
      {"/bin/sh", {"-c", "exec \"$0\" --listen \"$1\" 2>&-", Streamd, "ipc://" + socket}, environmentWith({}), {}},
      descriptors);
  const Deadline deadline(Patience);
  while (!deadline.passed() && groupsAt("ipc://" + socket).find("Keyboard") == std::string::npos) {
  }
  EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(daemon.id()) + "/fd/2"), "/dev/null");
  daemon.signal(SIGTERM);
  EXPECT_EQ(daemon.wait(deadline), ExitStatus::exited(0));
}

TEST(Streamd, HelpAndVersionAreNoErrors) {
  const auto help = run({"--help"});
  EXPECT_EQ(help.status, ExitStatus::exited(0));
  for (const char* option : {"--listen", "--driver", "--device", "--queue-bytes", "--memory"}) {
    EXPECT_THAT(help.standardOutput, HasSubstr(option));
  }
  EXPECT_EQ(run({"--version"}).status, ExitStatus::exited(0));
}

TEST(Streamd, ReportsInOneLineWhyItCannotServe) {
  const testsupport::ScratchFolder folder;
  folder.write("bad.toml", "\nport = 1\n");
  folder.write("file", "precious");
  const std::string bad = folder.path() / "bad.toml";
  const std::string file = folder.path() / "file";
  struct Row {
    std::vector<std::string> arguments;
    std::string line;  // the last one
  };
  for (const Row& row : std::vector<Row>{
           {{"--device", "/nowhere.toml"}, "/nowhere.toml: No such file or directory\n"},
           {{"--device", bad}, bad + ":2: "},
           {{"--driver", "builtin", "--device", bad}, bad + ":2: "},
           {{"--driver", "jack", "--driver", "builtin", "--driver", "jack"}, "jack: may be given only once\n"},
           {{"--listen", "tcp://127.0.0.1:5"}, "tcp://127.0.0.1:5: network services are not supported\n"},
           {{"--listen", "here"}, "here: not a valid endpoint (use ipc://PATH)\n"},
           {{"--listen", "ipc://"}, "ipc://: not a valid endpoint (use ipc://PATH)\n"},
           {{"--listen", "ipc://@name"}, "ipc://@name: the path must not begin with @ or *\n"},
           {{"--listen", "ipc://*"}, "ipc://*: the path must not begin with @ or *\n"},
           {{"--listen", "ipc://" + file}, file + ": the path exists and is not a socket\n"}}) {
    const auto result = run(row.arguments);
    EXPECT_EQ(result.status, ExitStatus::exited(1)) << row.line;
    EXPECT_THAT(result.standardError, HasSubstr(row.line));
  }
  EXPECT_EQ(fs::file_size(file), 8U);
}

}  // namespace

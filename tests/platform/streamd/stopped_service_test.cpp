// What a client sees of a service that is stopped for a while, and what the service does afterwards.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "platform/channel/deadline.h"
#include "tests/platform/streamd/console.h"
#include "tests/platform/streamd/daemon_fixture.h"
#include "tests/support/case_runner.h"
#include "tests/support/process.h"

namespace streamd {
namespace {

using namespace std::chrono_literals;
using EvtSrv::EventPortManager;
using StrmSrv::Patcher;
using testing::HasSubstr;
using testing::Not;
using Ports = std::vector<StrmSrv::PortRecord>;

class StoppedService : public DaemonTest {
 protected:
  // The daemon ends also when it is stopped.
  void stop() { daemon_.signal(SIGSTOP); }
  void goOn() { daemon_.signal(SIGCONT); }

  // The sinks of MidiUsbOut2, once the service has answered everything that was sent before.
  Ports sinks(Patcher& patcher) const {
    Ports ports;
    const testsupport::Deadline deadline(client::Patience);
    // Only an answer of the service shows that it has come so far: this pair is not connected.
    while (patcher.disconnect(6, 0, 8, 0) != StrmSrv::StrmRes_NotFound && !deadline.passed()) {
      std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(patcher.getConnectSinkPorts(6, 1, ports), StrmSrv::StrmRes_Success);
    return ports;
  }

  static std::size_t timesIn(const std::string& text, const std::string& part) {
    std::size_t times = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++times;
    return times;
  }
};

TEST_F(StoppedService, DoesNothingOfWhatTimedOut) {
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  ASSERT_EQ(patcher.connect(6, 1, 8, 0), StrmSrv::StrmRes_Success);
  EventPortManager another(Behaviour, true);
  Patcher watching(another, 0);
  const auto version = watching.version();

  stop();
  EXPECT_EQ(patcher.connect(6, 1, 5, 0), StrmSrv::StrmRes_NoService);
  std::this_thread::sleep_for(1100ms);
  EXPECT_EQ(patcher.disconnect(6, 1, 8, 0), StrmSrv::StrmRes_NoService);
  goOn();
  EXPECT_EQ(sinks(patcher), (Ports{{8, 0}}));
  EXPECT_EQ(sinks(watching), (Ports{{8, 0}}));
  EXPECT_EQ(watching.version(), version) << "nothing has changed for a moment either";
  EXPECT_EQ(patcher.connect(6, 1, 5, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sinks(watching), (Ports{{8, 0}, {5, 0}}));
}

TEST_F(StoppedService, DoesWhatAnotherClientStillWaitsFor) {
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  EventPortManager another(Behaviour, true);
  Patcher later(another, 0);
  // Both have the graph.
  patcher.version();
  later.version();
  auto result = StrmSrv::StrmRes_NotFound;
  // A busy machine may let the second client give up as well.
  for (int round = 0; round < 20 && result != StrmSrv::StrmRes_Success; ++round) {
    std::this_thread::sleep_for(1100ms);
    stop();
    std::thread second([&] {
      std::this_thread::sleep_for(1s);
      result = later.connect(6, 1, 5, 0);
    });
    EXPECT_EQ(patcher.connect(6, 1, 5, 0), StrmSrv::StrmRes_NoService);
    goOn();
    second.join();
  }
  ASSERT_EQ(result, StrmSrv::StrmRes_Success);
  const testsupport::Deadline given(500ms);
  while (!given.passed()) manager.receiveEvent(10);
  EXPECT_EQ(sinks(patcher), (Ports{{5, 0}}));
  EXPECT_EQ(sinks(later), (Ports{{5, 0}}));
}

TEST_F(StoppedService, ConsoleShowsAnErrorAndNoConnectionLater) {
  Console console(daemon_.endpoint());
  console.type("ls -r Midi/Source/MidiUsb");
  ASSERT_TRUE(console.shows("MidiUsbOut2"));
  stop();
  console.type("con Midi/Source/MidiUsb/MidiUsbOut2 Midi/Sink/MidiDin/MidiDinIn1");
  EXPECT_TRUE(console.shows("ERROR: ConnectError"));
  goOn();
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  EXPECT_EQ(sinks(patcher), Ports{});
  // Longer than the console takes to read what is late.
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(sinks(patcher), Ports{});
}

TEST_F(StoppedService, ConsoleListsItWithOneLine) {
  Console console(daemon_.endpoint());
  stop();
  const auto before = std::chrono::steady_clock::now();
  console.type("ls -r");
  EXPECT_TRUE(console.shows("the service does not answer"));
  EXPECT_TRUE(console.shows("MidiUsbOut2")) << "the ports are known";
  EXPECT_TRUE(console.shows("[ /]$ "));
  EXPECT_LT(std::chrono::steady_clock::now() - before, 10 * channel::AnswerTime);
  EXPECT_EQ(timesIn(console.terminal().output(), "the service does not answer"), 1U);
  goOn();
}

TEST_F(StoppedService, ScriptWaitsOnceAndPrintsOneLine) {
  const testsupport::ScratchFolder folder;
  folder.write("script", "$kill -STOP " + std::to_string(daemon_.id()) + "\nls -r\n");
  testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", {"-f", folder.path() / "script"}, {}, {}};
  command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  command.environment["EVTSRV_ENDPOINT"] = daemon_.endpoint();
  const auto before = std::chrono::steady_clock::now();
  const auto result = testsupport::runProcess(command, "", testsupport::Deadline(60s));
  const auto took = std::chrono::steady_clock::now() - before;
  EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0));
  EXPECT_EQ(result.standardError, "flowscope: " + daemon_.endpoint() + ": the service does not answer\n");
  EXPECT_THAT(result.standardOutput, HasSubstr("+-- MidiUsbOut2"));
  EXPECT_LT(took, 10 * channel::AnswerTime);
  goOn();
}

}  // namespace
}  // namespace streamd

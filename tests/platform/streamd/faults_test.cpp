// What clients do to a service, and what becomes of the others.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <deque>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/host/raw_client.h"
#include "tests/platform/streamd/daemon_fixture.h"
#include "tests/platform/streamd/injector.h"
#include "tests/platform/streamd/quiet_device.h"
#include "tests/platform/streamd/raw_socket.h"
#include "tests/support/case_runner.h"
#include "tests/support/stream_daemon.h"

namespace streamd {
namespace {

using client::EndpointVariable;
using client::Patience;
using client::receiveUntil;
using client::RecordingPort;
using EvtSrv::EventPortManager;
using testsupport::Deadline;
using Texts = std::vector<std::string>;

// A queue that one step of a flood does not fill, but a hundred do.
constexpr const char* QueueBytes = "262144";

class Faults : public DaemonTest {
 protected:
  Faults() : DaemonTest({"--queue-bytes", QueueBytes}) {}

  // The service knows so many clients, the injector among them.
  bool clientCountBecomes(std::size_t count) {
    const Deadline deadline(Patience);
    while (injector_.stats().clients.size() != count) {
      if (deadline.passed()) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }

  // A console sees what passes a port.
  void expectService() {
    EventPortManager manager(Behaviour, true);
    RecordingPort port(manager);
    ASSERT_EQ(port.tap("MidiDinOut1"), EvtSrv::EvtRes_Success);
    ASSERT_EQ(port.sendNoteOn(1, 2, 3), StrmSrv::StrmRes_Success);
    ASSERT_TRUE(receiveUntil(manager, [&] { return !port.texts.empty(); }));
    EXPECT_EQ(port.texts, Texts{"MidiDinOut1: 1 2 3"});
  }

  Injector injector_{daemon_.socket()};
};

TEST_F(Faults, SilentClientsCostNothing) {
  const RawSocket silent(daemon_.socket());
  ASSERT_TRUE(silent.connected());
  host::RawClient greeted(daemon_.socket());
  EXPECT_NE(greeted.hello(), 0U);
  expectService();
}

TEST_F(Faults, ClientsThatDoNotWaitForTheirAnswerLeaveNothingBehind) {
  for (int i = 0; i < 100; ++i) {
    host::RawClient hasty(daemon_.socket());
    hasty.send(1, wire::Hello{});
  }
  // The system's name for this process; no client says what it is called.
  std::string self;
  std::getline(std::ifstream("/proc/self/comm"), self);
  self += " (process " + std::to_string(getpid()) + ") ";
  ASSERT_TRUE(daemon_.logged(self + "connected\n", Deadline(Patience), 101)) << "with the injector";
  EXPECT_TRUE(clientCountBecomes(1));
  EXPECT_TRUE(daemon_.logged(self + "lost its connection\n", Deadline(Patience), 100));
}

TEST_F(Faults, GarbageOnTheSocketHarmsNobody) {
  std::mt19937 random(7);
  std::vector<std::uint8_t> frame;
  channel::appendFrame(wire::encode(1, wire::Hello{}), frame);
  const std::string hello(frame.begin(), frame.end());
  for (std::size_t size = 1; size < 4000; size += 37) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    RawSocket garbage(daemon_.socket());
    garbage.write(bytes);
    // A good message comes first.
    RawSocket greeted(daemon_.socket());
    greeted.write(hello + bytes);
    // A frame whose rest never comes.
    RawSocket half(daemon_.socket());
    half.write(hello + std::string("\xFF\xFF\x0F\0", 4) + bytes);
  }
  expectService();
}

// More than a service accepts at once.
TEST_F(Faults, BurstOfConnectionsKeepsNobodyAway) {
  constexpr int Many = 500;
  std::deque<RawSocket> burst;
  daemon_.signal(SIGSTOP);
  int connected = 0;
  for (int i = 0; i < Many; ++i) connected += burst.emplace_back(daemon_.socket(), SOCK_NONBLOCK).connected() ? 1 : 0;
  daemon_.signal(SIGCONT);
  EXPECT_EQ(connected, Many);
  expectService();
}

TEST_F(Faults, MalformedMessagesHarmNobody) {
  host::RawClient bad(daemon_.socket());
  const std::uint64_t session = bad.hello();
  const auto good = wire::encode(5, wire::Inject{session, Port, {{0, {0xF8}}, {0, {0xF8}}}});
  for (std::size_t size = 0; size < good.size(); ++size) {
    ASSERT_TRUE(bad.send(std::vector<std::uint8_t>(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))));
  }
  auto oversized = good;
  std::fill(oversized.end() - 18, oversized.end() - 14, std::uint8_t{0xFF});  // the number of messages
  ASSERT_TRUE(bad.send(oversized));
  auto otherVersion = good;
  otherVersion[1] = 99;
  ASSERT_TRUE(bad.send(otherVersion));
  bad.send(std::vector<std::uint8_t>(3U << 20U, 0xE5));  // ends this connection
  expectService();
  EXPECT_EQ(injector_.stats().in, 1U) << "only the note of the honest client";
  EXPECT_TRUE(clientCountBecomes(1)) << "whose connection was closed has gone";
}

TEST_F(Faults, TwoClientsThatPatchTheSamePortsAgreeInTheEnd) {
  // On a machine that is busy enough an answer may take more than the two seconds that a session waits.
  const auto answered = [](const auto& operation) {
    const Deadline deadline(Patience);
    auto result = operation();
    while (result == StrmSrv::StrmRes_NoService && !deadline.passed()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      result = operation();
    }
    return result;
  };
  const auto patchAgainAndAgain = [&answered](int& failures) {
    EventPortManager manager(Behaviour, true);
    StrmSrv::Patcher patcher(manager, 0);
    for (int i = 0; i < 300; ++i) {
      if (answered([&] { return patcher.connect(6, 1, 5, 0); }) != StrmSrv::StrmRes_Success) ++failures;
      const auto removed = answered([&] { return patcher.disconnect(6, 1, 5, 0); });
      // The other may have been faster.
      if (removed != StrmSrv::StrmRes_Success && removed != StrmSrv::StrmRes_NotFound) ++failures;
      std::vector<StrmSrv::PortRecord> sinks;
      const auto asked = answered([&] { return patcher.getConnectSinkPorts(6, 1, sinks); });
      if (asked != StrmSrv::StrmRes_Success || sinks.size() > 1) ++failures;
    }
  };
  int failures = 0;
  int otherFailures = 0;
  std::thread other([&] { patchAgainAndAgain(otherFailures); });
  patchAgainAndAgain(failures);
  other.join();
  EXPECT_EQ(failures + otherFailures, 0);

  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  std::vector<StrmSrv::PortRecord> sinks;
  EXPECT_EQ(answered([&] { return patcher.getConnectSinkPorts(6, 1, sinks); }), StrmSrv::StrmRes_Success);
  EXPECT_TRUE(sinks.empty()) << "each took away what it had made";
}

TEST_F(Faults, TapsComeBackWithTheService) {
  EventPortManager manager(Behaviour, true);
  RecordingPort one(manager);
  RecordingPort two(manager);
  ASSERT_EQ(one.tap(Port), EvtSrv::EvtRes_Success);
  ASSERT_EQ(one.tap("MidiDinOut1"), EvtSrv::EvtRes_Success);
  ASSERT_EQ(two.tap(Port), EvtSrv::EvtRes_Success);
  ASSERT_EQ(one.disconnect("MidiDinOut1", nullptr), EvtSrv::EvtRes_Success);
  StrmSrv::Patcher patcher(manager, 0);
  ASSERT_EQ(patcher.connect(6, 1, 5, 0), StrmSrv::StrmRes_Success);

  const std::string line = sys::programLine(daemon_.endpoint() + ": ");
  testing::internal::CaptureStderr();
  daemon_.signal(SIGKILL);
  ASSERT_TRUE(daemon_.waitForExit(Deadline(Patience)));
  EXPECT_TRUE(receiveUntil(manager, [&] { return one.sendNoteOn(1, 1, 1) == StrmSrv::StrmRes_NoService; }));
  EXPECT_EQ(two.tap("MidiDinOut1"), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(patcher.connect(6, 1, 5, 0), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line + "connection to the service lost\n");

  testing::internal::CaptureStderr();
  daemon_.restart();
  Injector injector(daemon_.socket());
  EXPECT_TRUE(receiveUntil(manager, [&] { return injector.stats().clients.size() == 2; }));
  one.texts.clear();
  injector.inject(Port, 3);
  EXPECT_TRUE(receiveUntil(manager, [&] { return one.texts.size() + two.texts.size() >= 6; }));
  EXPECT_EQ(one.texts, receivedFromTo(Port, 0, 3));
  EXPECT_EQ(two.texts, receivedFromTo(Port, 0, 3));
  EXPECT_EQ(injector.stats().clients.at(1).taps + injector.stats().clients.at(0).taps, 2U)
      << "the one that had ended did not come back";
  std::vector<StrmSrv::PortRecord> sinks;
  EXPECT_EQ(patcher.getConnectSinkPorts(6, 1, sinks), StrmSrv::StrmRes_Success);
  EXPECT_TRUE(sinks.empty()) << "the new service's graph";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line + "connected to the service again, 2 taps restored\n");
}

TEST_F(Faults, RequestsFindTheServiceWithoutReceiving) {
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
  testing::internal::CaptureStderr();
  daemon_.signal(SIGTERM);
  ASSERT_TRUE(daemon_.waitForExit(Deadline(Patience)));
  const Deadline deadline(Patience);
  while (port.tap("MidiDinOut1") == EvtSrv::EvtRes_Success) ASSERT_FALSE(deadline.passed());
  EXPECT_EQ(port.disconnect(Port.c_str(), nullptr), EvtSrv::EvtRes_NoService) << "but it shall not come back";
  daemon_.restart();
  while (port.tap("ThruIn1") != EvtSrv::EvtRes_Success) ASSERT_FALSE(deadline.passed());
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_THAT(text, testing::HasSubstr("connection to the service lost\n"));
  EXPECT_THAT(text, testing::HasSubstr("connected to the service again"));
  Injector injector(daemon_.socket());
  injector.inject("ThruIn1", 1);
  injector.inject(Port, 1);
  injector.inject("ThruIn1", 1);
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= 2; }));
  EXPECT_EQ(port.texts, (Texts{received("ThruIn1", 0), received("ThruIn1", 2)}));
}

TEST_F(Faults, PortsThatTheNewServiceDoesNotHaveAreCounted) {
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
  ASSERT_EQ(port.tap("ThruIn1"), EvtSrv::EvtRes_Success);
  daemon_.signal(SIGTERM);
  ASSERT_TRUE(daemon_.waitForExit(Deadline(Patience)));
  // Another service at the same place.
  const DeviceFile small("[[group]]\nid = 8\nname = \"Thru\"\nsinks = 1\n");
  testsupport::ChildDescriptors descriptors;
  descriptors.open(STDERR_FILENO, "/dev/null", O_WRONLY);
  testsupport::Child other({Streamd,
                            {"--listen", daemon_.endpoint(), "--device", small.path()},
                            testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR),
                            {}},
                           descriptors);
  testing::internal::CaptureStderr();
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.tap("ThruIn1") == EvtSrv::EvtRes_Success; }));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::HasSubstr("connected to the service again, 1 of 2 taps restored\n"));
}

TEST_F(Faults, StalledReaderCountsExactlyItsOwnLoss) {
  constexpr std::uint32_t Count = 100'000;  // far more than a queue holds
  EventPortManager slow(Behaviour, true);
  RecordingPort stalled(slow);
  ASSERT_EQ(stalled.tap(Port), EvtSrv::EvtRes_Success);
  EventPortManager quick(Behaviour, true);
  RecordingPort reader(quick);
  ASSERT_EQ(reader.tap(Port), EvtSrv::EvtRes_Success);

  std::thread flood([&] {
    // In steps that the reader can follow.
    for (std::uint32_t done = 0; done < Count; done += 1'000) {
      injector_.inject(Port, 1'000);
      const Deadline deadline(Patience);
      while (injector_.stats().clients.at(2).queueBytes > 0 && !deadline.passed()) {
        std::this_thread::yield();
      }
    }
  });
  const bool complete = receiveUntil(quick, [&] { return reader.texts.size() >= Count; });
  flood.join();
  ASSERT_TRUE(complete) << reader.texts.size();
  EXPECT_EQ(reader.texts, receivedFromTo(Port, 0, Count));

  const wire::Stats stats = injector_.stats();
  const auto& counts = stats.clients.at(1);
  EXPECT_EQ(counts.out + counts.lost, Count);
  EXPECT_GT(counts.lost, 0U);
  EXPECT_EQ(stats.clients.at(2).lost, 0U);

  testing::internal::CaptureStderr();
  while (slow.receiveEvent(500) == EvtSrv::EvtRes_Success) {
  }
  const std::string lines = testing::internal::GetCapturedStderr();
  EXPECT_EQ(lines, sys::programLine(std::to_string(counts.lost) + " messages lost: this program reads too slowly\n"));
  ASSERT_EQ(stalled.texts.size(), counts.out);
  // The loss is at the end: what came before is complete and in order.
  EXPECT_EQ(stalled.texts, receivedFromTo(Port, 0, static_cast<std::uint32_t>(counts.out)));
}

}  // namespace
}  // namespace streamd

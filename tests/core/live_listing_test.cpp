// What listings show of connections that come and go, and what they ask of the service for it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "platform/host/embedded_service.h"
#include "platform/reach/running_services.h"
#include "tests/core/shell_fixture.h"
#include "tests/platform/service/device.h"
#include "tests/support/deadline.h"

namespace flowscope {
namespace {

constexpr std::uint16_t Groups = 4;
constexpr std::uint16_t PortsPerSide = 50;
constexpr std::chrono::seconds Patience{20};

// Through here the service's thread comes every millisecond. While it is closed the service stands still and answers
// nobody, but not without end.
class Gate {
 public:
  std::optional<device::Time> pass(device::Time now) {
    std::unique_lock guard(mutex_);
    standing_ = closed_;
    changed_.notify_all();
    changed_.wait_for(guard, Patience, [this] { return !closed_; });
    closed_ = standing_ = false;
    return now + std::chrono::milliseconds(1);
  }

  // Waits until the service stands.
  void close() {
    std::unique_lock guard(mutex_);
    closed_ = true;
    changed_.wait(guard, [this] { return standing_; });
  }

  // Answers whether the service has stood until now.
  bool open() {
    const std::lock_guard guard(mutex_);
    const bool stood = closed_;
    closed_ = false;
    changed_.notify_all();
    return stood;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool closed_ = false;
  bool standing_ = false;
};

// A shell on a device of 400 ports, each source connected to the sink of its number in the next group.
class LiveListing : public testing::Test {
 protected:
  LiveListing() {
    std::vector<device::Link> links;
    for (std::uint16_t group = 0; group < Groups; ++group) {
      for (std::uint16_t port = 0; port < PortsPerSide; ++port) {
        const auto next = static_cast<std::uint16_t>((group + 1) % Groups);
        links.push_back(service::link(service::out(group, port), service::in(next, port)));
      }
    }
    auto device =
        std::make_unique<service::TestDevice>(service::evenTopology(Groups, PortsPerSide), std::move(links), told_);
    device->onAdvance = [this](device::DriverEvents& /*events*/, device::Time now) { return gate.pass(now); };
    service_ = std::make_shared<host::EmbeddedService>(std::move(device));
    reach::shareService("live", service_);
    ::setenv("EVTSRV_ENDPOINT", "embedded:live", 1);
    manager = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    shell = std::make_unique<FlowScope>(*manager, true, around_.io);
    shell->init(*manager);
  }

  std::string run(const std::string& line) {
    runCommands(*shell, line);
    return around_.out.take();
  }

  bool lists(const std::string& place, const std::string& text) {
    return run("ls -r " + place).find(text) != std::string::npos;
  }

  // What another client has changed is on its way.
  bool listsSoon(const std::string& place, const std::string& text, bool there) {
    const testsupport::Deadline deadline(Patience);
    while (lists(place, text) != there) {
      if (deadline.passed()) return false;
    }
    return true;
  }

 private:
  service::Told told_;
  test::Surroundings around_;

 protected:
  Gate gate;

 private:
  std::shared_ptr<host::EmbeddedService> service_;

 protected:
  std::unique_ptr<EvtSrv::EventPortManager> manager;
  std::unique_ptr<FlowScope> shell;
};

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// One question about one port fetches everything: a whole device is then listed without an answer of the service.
TEST_F(LiveListing, AsksForAWholeDeviceOnce) {
  std::vector<StrmSrv::PortRecord> sinks;
  ASSERT_EQ(shell->patcher()->getConnectSinkPorts(0, 0, sinks), StrmSrv::StrmRes_Success);
  gate.close();
  const auto listed = run("ls -r /Midi");
  EXPECT_TRUE(gate.open());
  // Below each port, which stands in bold, the group and the port it is connected to.
  EXPECT_EQ(occurrences(listed, "\n\033[22m            +-- "), 2U * Groups * PortsPerSide);
  EXPECT_EQ(occurrences(listed, "\n                +-- "), 2U * Groups * PortsPerSide);
  EXPECT_EQ(run("ls -r /Midi"), listed);
}

TEST_F(LiveListing, ShowsAtOnceWhatThisConsoleHasConnected) {
  EvtSrv::EventPortManager others(EvtSrv::ConBehave_Void, true);
  StrmSrv::Patcher theirs(others, 0);
  std::atomic<bool> done = false;
  // Somebody else changes connections all the time.
  std::thread busy([&] {
    while (!done) {
      theirs.connect(2, 0, 2, 0);
      theirs.disconnect(2, 0, 2, 0);
    }
  });
  int missed = 0;
  for (int turn = 0; turn < 100; ++turn) {
    if (shell->patcher()->connect(0, 7, 0, 9) != StrmSrv::StrmRes_Success) ++missed;
    if (!lists("/Midi/Source/G0/G0Out8", "    +-- G0In10  \n")) ++missed;
    if (shell->patcher()->disconnect(0, 7, 0, 9) != StrmSrv::StrmRes_Success) ++missed;
    if (lists("/Midi/Source/G0/G0Out8", "    +-- G0In10  \n")) ++missed;
  }
  done = true;
  busy.join();
  EXPECT_EQ(missed, 0);
}

TEST_F(LiveListing, ShowsWhatAnotherClientHasConnected) {
  ASSERT_FALSE(lists("/Midi/Sink/G3/G3In1", "    +-- G1Out5  \n"));
  EvtSrv::EventPortManager others(EvtSrv::ConBehave_Void, true);
  StrmSrv::Patcher theirs(others, 0);
  ASSERT_EQ(theirs.connect(1, 4, 3, 0), StrmSrv::StrmRes_Success);
  EXPECT_TRUE(listsSoon("/Midi/Sink/G3/G3In1", "    +-- G1Out5  \n", true));
  EXPECT_TRUE(listsSoon("/Midi/Source/G1/G1Out5", "    +-- G3In1  \n", true));
  ASSERT_EQ(theirs.disconnect(1, 4, 3, 0), StrmSrv::StrmRes_Success);
  EXPECT_TRUE(listsSoon("/Midi/Sink/G3/G3In1", "    +-- G1Out5  \n", false));
}

// More changes than the service keeps for a client that does not look.
TEST_F(LiveListing, ShowsTheStateAfterManyChangesOfAnotherClient) {
  ASSERT_TRUE(lists("/Midi/Source/G0/G0Out1", "    +-- G1In1  \n"));
  EvtSrv::EventPortManager others(EvtSrv::ConBehave_Void, true);
  StrmSrv::Patcher theirs(others, 0);
  for (int turn = 0; turn < 2000; ++turn) {
    ASSERT_EQ(theirs.connect(0, 0, 0, 0), StrmSrv::StrmRes_Success);
    ASSERT_EQ(theirs.disconnect(0, 0, 0, 0), StrmSrv::StrmRes_Success);
  }
  ASSERT_EQ(theirs.connect(0, 0, 0, 1), StrmSrv::StrmRes_Success);
  EXPECT_TRUE(listsSoon("/Midi/Source/G0/G0Out1", "    +-- G0In2  \n", true));
  EXPECT_FALSE(lists("/Midi/Source/G0/G0Out1", "    +-- G0In1  \n"));
  EXPECT_TRUE(lists("/Midi/Source/G0/G0Out1", "    +-- G1In1  \n"));
}

}  // namespace
}  // namespace flowscope

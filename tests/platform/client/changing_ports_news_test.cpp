// What a client of a changing device is told, receives, and waits for.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/system/program_line.h"
#include "tests/platform/client/changing_ports.h"

namespace client {
namespace {

using Names = std::vector<std::string>;
using service::out;
using StrmSrv::Patcher;

TEST_F(ChangingPorts, ServiceThatIsLateWithNewPortsStillAnswersCommands) {
  setPorts({group(0, "A", {"a"}, {"x"})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  ASSERT_EQ(patcher.connect(0, 0, 0, 0), StrmSrv::StrmRes_Success);
  testing::internal::CaptureStderr();
  setPorts({group(0, "A", {"a"}, {"x"}), group(1, "B", {"b"}, {})});
  std::atomic<bool> late{true};
  std::thread blocker([&] {
    device_->act([&](ObeyingDevice&) {
      const testsupport::Deadline deadline(Patience);
      while (late && !deadline.passed()) usleep(1000);
    });
  });
  // The look begins after 200 milliseconds and gives up after 500 more.
  const testsupport::Deadline given(std::chrono::milliseconds(900));
  while (!given.passed()) manager.receiveEvent(20);
  late = false;
  EXPECT_EQ(patcher.disconnect(0, 0, 0, 0), StrmSrv::StrmRes_Success);
  blocker.join();
  std::string said;
  EXPECT_TRUE(receiveUntil(manager, [&] {
    said += testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    return !said.empty();
  }));
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(said, sys::programLine("embedded:test: group \"B\" was added; restart the console to list it\n"));
}

TEST_F(ChangingPorts, NewPortsAreReportedInOneLineASecond) {
  using Clock = std::chrono::steady_clock;
  setPorts({group(1'000, "A", {"a"}, {})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  setPorts({group(1'000, "A", {"a", "listed"}, {})});
  const Patcher patcher(manager, 0);
  testing::internal::CaptureStderr();
  std::vector<std::pair<Clock::time_point, Clock::time_point>> times;  // between which each line was said
  const auto nextLine = [&] {
    const testsupport::Deadline deadline(Patience);
    std::string line;
    while (line.empty() && !deadline.passed()) {
      const auto before = Clock::now();
      manager.receiveEvent(20);
      line = testing::internal::GetCapturedStderr();
      testing::internal::CaptureStderr();
      if (!line.empty()) times.emplace_back(before, Clock::now());
    }
    return line;
  };
  const std::string front = sys::programLine("embedded:test: ");
  setPorts({group(1'000, "A", {"a", "listed"}, {}), group(1'001, "B", {"b"}, {})});
  EXPECT_EQ(nextLine(), front + "group \"B\" was added; restart the console to list it\n");
  setPorts({group(1'000, "A", {"a", "listed", "c"}, {}), group(1'001, "B", {"b"}, {})});
  setPorts({group(1'000, "A", {"a", "listed", "c"}, {}), group(1'001, "B", {"b"}, {}), group(1'002, "D", {"d"}, {})});
  EXPECT_EQ(nextLine(), front + "group \"D\" and port \"c\" were added; restart the console to list them\n");
  ASSERT_EQ(times.size(), 2U);
  EXPECT_GE(times[1].second - times[0].first, std::chrono::seconds(1));
  setPorts({group(1'000, "A", {"a", "listed", "c"}, {}), group(1'001, "B", {"b"}, {})});
  const testsupport::Deadline quiet(std::chrono::milliseconds(1500));
  while (!quiet.passed()) manager.receiveEvent(20);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "nothing has come";
}

TEST_F(ChangingPorts, ClientWithoutAPatcherHearsNothingOfNewPorts) {
  setPorts({});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  testing::internal::CaptureStderr();
  setPorts({group(1'001, "B", {"b"}, {})});
  const testsupport::Deadline quiet(std::chrono::milliseconds(700));
  while (!quiet.passed()) manager.receiveEvent(20);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ChangingPorts, TapComesBackWithItsPort) {
  setPorts({group(0, "A", {"a"}, {})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap("a"), EvtSrv::EvtRes_Success);
  setPorts({group(0, "A", {""}, {})});
  setPorts({group(0, "A", {"a"}, {})});
  const std::vector<std::uint8_t> note{0x90, 1, 2};
  device_->act([&](ObeyingDevice& device) { device.events().emitted(out(0, 0), {3, note}, {}); });
  EXPECT_TRUE(receiveUntil(manager, [&] { return !port.texts.empty(); }));
  EXPECT_EQ(port.texts, Names{"a: 1 2 3"});
}

TEST_F(ChangingPorts, LossOnTheWayToTheServiceIsReported) {
  setPorts({group(0, "A", {"a"}, {})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap("a"), EvtSrv::EvtRes_Success);
  testing::internal::CaptureStderr();
  const std::vector<std::uint8_t> note{0x90, 1, 2};
  device_->act([&](ObeyingDevice& device) {
    device.events().lost(out(0, 0), 5, {});
    device.events().emitted(out(0, 0), {3, note}, {});
    device.events().lost(out(0, 0), 0, {});
    device.events().emitted(out(0, 0), {3, note}, {});
  });
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.texts.size() == 2; }));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            sys::programLine("5 messages lost before reaching the service\n") +
                sys::programLine("an unknown number of messages, perhaps none, lost before reaching the service\n"));
}

// Longer than a service may be silent, and more messages than may be on their way.
TEST_F(ChangingPorts, SenderWaitsForADeviceThatIsBehind) {
  setPorts({group(0, "A", {}, {"x"})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap("x"), EvtSrv::EvtRes_Success);
  device_->act([](ObeyingDevice& device) { device.isBehind = true; });
  constexpr int Messages = 3000;
  std::atomic<int> sent{0};
  std::thread sender([&] {
    while (sent < Messages && port.sendNoteOn(1, 2, 3) == StrmSrv::StrmRes_Success) ++sent;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(2500));
  const int before = sent;
  device_->act([](ObeyingDevice& device) { device.isBehind = false; });
  sender.join();
  EXPECT_LT(before, Messages);
  EXPECT_EQ(sent, Messages);
}

}  // namespace
}  // namespace client

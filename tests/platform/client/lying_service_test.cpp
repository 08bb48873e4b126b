// The library with a service that sends what no service sends.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/client/session.h"
#include "platform/system/program_line.h"
#include "platform/wire/events.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/client/played_service.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Session = EvtSrv::EventPortManager::Session;

// Answers like a service, except for its list of ports and the name of the port in its events.
class LyingService : public testing::Test {
 protected:
  void list(std::vector<device::Group> groups) {
    const std::lock_guard guard(mutex_);
    topology_ = {std::move(groups)};
  }

  void answer(PlayedService& service, std::uint32_t tag, const wire::Body& body) {
    service.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskTopology>(body)) {
      const std::lock_guard guard(mutex_);
      service.reply(tag, topology_);
    }
    if (const auto* tap = std::get_if<wire::Tap>(&body)) {
      service.reply(tag, wire::Result{});
      service.toEventChannel(wire::Events{noteOn(tap->eventPort)});
    }
  }

  const testsupport::ScratchFolder folder_;
  const std::string path_ = folder_.path() / "service";

 private:
  std::span<const std::uint8_t> noteOn(std::uint32_t eventPort) {
    std::vector<std::uint8_t> records;
    wire::appendRecord(0, std::vector<std::uint8_t>{0x90, 1, 2}, records);
    const auto size = static_cast<std::uint32_t>(wire::EventHeaderBytes + records.size());
    entries_.clear();
    wire::beginEventEntry(eventPort, "\x1b[2Jevil", {.size = size}, entries_);
    entries_.insert(entries_.end(), records.begin(), records.end());
    return entries_;
  }

  std::mutex mutex_;
  wire::Topology topology_;
  std::vector<std::uint8_t> entries_;

 protected:
  PlayedService service_{
      path_, [this](PlayedService& self, std::uint32_t tag, const wire::Body& body) { answer(self, tag, body); }};
};

TEST_F(LyingService, BadListOfPortsIsRefusedInOneLine) {
  auto opened = Session::open(channel::Connector::toLocalSocket(path_), "test");
  auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  list({{1, "\x1b]0;evil\x07", std::nullopt, std::nullopt}});
  CaptureStderr();
  EXPECT_FALSE((*session)->device());
  EXPECT_FALSE((*session)->device());
  const std::string front = sys::programLine("test: the service's list of ports is refused: ");
  EXPECT_EQ(GetCapturedStderr(), front + "group 1 has a name that no group may have\n");

  list({device::numberedGroup(3, "Good", 1, std::nullopt)});
  CaptureStderr();
  const auto device = (*session)->device();
  ASSERT_TRUE(device);
  EXPECT_EQ(device->topology.groups.size(), 1U);
  EXPECT_EQ(GetCapturedStderr(), "");

  // Another cause has no line of its own so soon, but one in another session.
  list({{1, "A", std::nullopt, std::nullopt}, {1, "B", std::nullopt, std::nullopt}});
  CaptureStderr();
  EXPECT_FALSE((*session)->device());
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ((*session)->lastDevice().topology.groups.size(), 1U) << "the last one that was believed";
  opened = Session::open(channel::Connector::toLocalSocket(path_), "test");
  session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  CaptureStderr();
  EXPECT_FALSE((*session)->device());
  EXPECT_EQ(GetCapturedStderr(), front + "group 2 has the handle of another group\n");
}

TEST_F(LyingService, ConsoleOnABadListHasADeviceWithoutGroups) {
  list({device::numberedGroup(3, "Good", 1, std::nullopt), {4, "not\ngood", std::nullopt, std::nullopt}});
  const EndpointVariable endpoint("ipc://" + path_);
  CaptureStderr();
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  const StrmSrv::Patcher patcher(manager, 0);
  EXPECT_TRUE(patcher.sourceGroups().empty());
  const std::string said = GetCapturedStderr();
  EXPECT_EQ(said, sys::programLine("ipc://" + path_ +
                                   ": the service's list of ports is refused: group 2 has a name that no group may "
                                   "have\n"));
}

TEST_F(LyingService, NamesOfEventsAreCleaned) {
  const EndpointVariable endpoint("ipc://" + path_);
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap("In1"), EvtSrv::EvtRes_Success);
  EXPECT_TRUE(receiveUntil(manager, [&] { return !port.texts.empty(); }));
  EXPECT_EQ(port.texts, std::vector<std::string>{"__2Jevil: 1 2 0"});
}

}  // namespace
}  // namespace client

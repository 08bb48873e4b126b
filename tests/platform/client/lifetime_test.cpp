// Managers, ports and services that come and go.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/host/raw_client.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;
using Texts = std::vector<std::string>;

constexpr std::uint32_t Behaviour = EvtSrv::ConBehave_Default;

TEST(Lifetime, DestroyingTheManagerDeliversWhatIsPending) {
  constexpr std::uint16_t Count = 1'000;
  TestService service;
  EventPortManager witness(Behaviour, true);
  RecordingPort heard(witness);
  heard.tap("G0Out1");
  {
    EventPortManager manager(Behaviour, true);
    RecordingPort port(manager);
    port.tap("G0Out1");
    for (std::uint16_t i = 0; i < Count; ++i) port.sendNoteOn(1, 1, i);
  }
  ASSERT_TRUE(receiveUntil(witness, [&] { return heard.texts.size() >= Count; }));
  EXPECT_EQ(heard.texts.back(), "G0Out1: 1 1 999");
}

TEST(Lifetime, DestroyingTheManagerEndsItsTaps) {
  TestService service;
  auto manager = std::make_unique<EventPortManager>(Behaviour, true);
  RecordingPort leftBehind(*manager);
  leftBehind.tap("G0Out1");
  manager.reset();
  EXPECT_EQ(service.end(), (service::Told{"start", "use G0Out1", "unuse G0Out1"}));
}

TEST(Lifetime, PortsOutliveTheirManager) {
  TestService service;
  auto manager = std::make_unique<EventPortManager>(Behaviour, true);
  auto port = std::make_unique<RecordingPort>(*manager);
  port->tap("G0Out1");
  port->sendNoteOn(1, 1, 0);
  manager.reset();
  EXPECT_EQ(port->tap("G0Out1"), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(port->disconnect(nullptr, nullptr), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(port->disconnect("G0Out1", nullptr), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(port->sendNoteOn(1, 1, 0), StrmSrv::StrmRes_NoService);
  port.reset();
}

TEST(Lifetime, ServiceEndsWithItsLastManager) {
  std::weak_ptr<host::EmbeddedService> watched;
  auto service = std::make_unique<TestService>();
  watched = service->service();
  auto one = std::make_unique<EventPortManager>(Behaviour, true);
  auto two = std::make_unique<EventPortManager>(Behaviour, true);
  RecordingPort leftBehind(*one);
  service.reset();
  EXPECT_FALSE(watched.expired());
  one.reset();
  EXPECT_FALSE(watched.expired());
  two.reset();
  EXPECT_TRUE(watched.expired()) << "a port that is left behind holds up nothing";
}

TEST(Lifetime, ManagersOfOneEndpointShareTheDevice) {
  const EndpointVariable endpoint("embedded:");
  EventPortManager one(Behaviour, true);
  EventPortManager two(Behaviour, true);
  RecordingPort heard(one);
  RecordingPort port(two);
  ASSERT_EQ(heard.tap("KeyboardOut1"), EvtSrv::EvtRes_Success);
  ASSERT_EQ(port.tap("KeyboardOut1"), EvtSrv::EvtRes_Success);
  ASSERT_EQ(port.sendNoteOn(11, 22, 33), StrmSrv::StrmRes_Success);
  ASSERT_TRUE(receiveUntil(one, [&] { return !heard.texts.empty(); }));
  EXPECT_EQ(heard.texts, Texts{"KeyboardOut1: 11 22 33"});
}

TEST(Lifetime, ServiceStartsAnewAfterItsLastManager) {
  const EndpointVariable endpoint("embedded:");
  {
    EventPortManager manager(Behaviour, true);
    StrmSrv::Patcher patcher(manager, 0);
    ASSERT_EQ(patcher.disconnect(0, 0, 4, 0), StrmSrv::StrmRes_Success);
  }
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  EXPECT_EQ(patcher.disconnect(0, 0, 4, 0), StrmSrv::StrmRes_Success) << "the connection stands again";
}

TEST(Lifetime, ManagersComeAndGoOnManyThreads) {
  const EndpointVariable endpoint("embedded:");
  std::vector<std::thread> threads;
  std::vector<int> results(4);
  for (int& result : results) {
    threads.emplace_back([&result] {
      for (int i = 0; i < 10; ++i) {
        EventPortManager manager(Behaviour, true);
        RecordingPort port(manager);
        if (port.tap("SequencerOut1") == EvtSrv::EvtRes_Success) ++result;
        manager.receiveEvent(0);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(results, std::vector<int>(4, 10));
}

TEST(Lifetime, DeviceFileBecomesTheDevice) {
  const std::string file = testing::TempDir() + "client_lifetime_device.toml";
  std::FILE* out = std::fopen(file.c_str(), "w");
  ASSERT_NE(out, nullptr);
  std::fputs("[[group]]\nid = 4\nname = \"Box\"\nsources = 2\n", out);
  std::fclose(out);
  const EndpointVariable endpoint("embedded:" + file);
  EventPortManager manager(Behaviour, true);
  std::remove(file.c_str());
  StrmSrv::Patcher patcher(manager, 0);
  EXPECT_EQ(patcher.sourceGroups(), (std::vector<StrmSrv::GroupRecord>{{4, 2}}));
  EXPECT_EQ(patcher.makeStreamPortName(0, 4, 0, 0), "BoxOut1");
}

// Takes all descriptors of this process while it lives.
class NoDescriptors {
 public:
  // Not a limit of 0: the system then refuses to poll even one descriptor that is open already.
  NoDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit few = before_;
    few.rlim_cur = std::min<rlim_t>(few.rlim_cur, 512);
    setrlimit(RLIMIT_NOFILE, &few);
    for (int taken = dup(STDERR_FILENO); taken >= 0; taken = dup(STDERR_FILENO)) taken_.push_back(taken);
  }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;
  ~NoDescriptors() {
    for (const int taken : taken_) close(taken);
    setrlimit(RLIMIT_NOFILE, &before_);
  }

 private:
  rlimit before_{};
  std::vector<int> taken_;
};

TEST(Lifetime, RequestsFailWhileDescriptorsAreExhausted) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer looks at memory through a pipe, and ends the process without descriptors for one";
#endif
  TestService service;
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  std::vector<StrmSrv::PortRecord> ports;
  testing::internal::CaptureStderr();
  {
    const NoDescriptors limit;
    EXPECT_EQ(patcher.connect(0, 0, 1, 0), StrmSrv::StrmRes_NoService);
    EXPECT_EQ(patcher.getConnectSinkPorts(0, 0, ports), StrmSrv::StrmRes_NoService);
    const EventPortManager none(Behaviour, true);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), sys::programLine("embedded:test: Too many open files\n"));
  EXPECT_EQ(patcher.connect(0, 0, 1, 0), StrmSrv::StrmRes_Success);
}

TEST(Lifetime, GarbageOfOtherClientsDisturbsNobody) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  port.tap("G0Out1");
  host::RawClient raw(service.service()->connect());
  for (std::uint32_t i = 0; i < 100; ++i) {
    ASSERT_TRUE(raw.send(service::Bytes(i, 0xE5)));
    ASSERT_TRUE(raw.send(0, wire::UntapAll{i, 1}));
    ASSERT_EQ(port.sendNoteOn(1, 1, 0), StrmSrv::StrmRes_Success);
  }
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= 100; }));
  EXPECT_EQ(port.texts, Texts(100, "G0Out1: 1 1 0"));
}

// A process that ends without taking anything down.
[[noreturn]] void endWithEverythingLeftBehind() {
  const EndpointVariable endpoint("embedded:");
  static auto* manager = new EventPortManager(Behaviour, true);
  static auto* port = new RecordingPort(*manager);
  port->tap("SequencerOut1");
  manager->receiveEvent(10);
  std::exit(7);
}

TEST(LifetimeDeathTest, LeakedManagerDoesNotHoldUpTheEnd) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endWithEverythingLeftBehind(), testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace client

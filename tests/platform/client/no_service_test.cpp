// Managers without a service.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;

struct Row {
  std::string endpoint;
  std::uint32_t behaviour;
  std::string line;
};

const std::vector<Row>& endpoints() {
  static const std::vector<Row> rows = {
      {"ipc:///run/nowhere", EvtSrv::ConBehave_Default, "ipc:///run/nowhere: No such file or directory\n"},
      {"tcp://host:1", EvtSrv::ConBehave_Void, "tcp://host:1: network services are not supported\n"},
      {"tcp://host:1", EvtSrv::ConBehave_DisableOverNetwork,
       "tcp://host:1: network services are disabled in this program\n"},
      {"nonsense", EvtSrv::ConBehave_Default, "nonsense: not a valid endpoint (use ipc://PATH or embedded:FILE)\n"},
      {"embedded:/nowhere/a\x1b[31m\nb", EvtSrv::ConBehave_Default,
       "embedded:/nowhere/a\\x1B[31m\\x0Ab: /nowhere/a\\x1B[31m\\x0Ab: No such file or directory\n"},
      {"ipc://\n", EvtSrv::ConBehave_Default, "ipc://\\x0A: No such file or directory\n"},
  };
  return rows;
}

std::string errorsOf(std::uint32_t behaviour) {
  testing::internal::CaptureStderr();
  { EventPortManager manager(behaviour, true); }
  return testing::internal::GetCapturedStderr();
}

TEST(NoService, OneLineNamesEndpointAndCause) {
  for (const Row& row : endpoints()) {
    const EndpointVariable endpoint(row.endpoint);
    EXPECT_EQ(errorsOf(row.behaviour), sys::programLine(row.line));
  }
}

TEST(NoService, BadDeviceFileIsNamed) {
  const std::string file = testing::TempDir() + "client_no_service_device.toml";
  std::FILE* out = std::fopen(file.c_str(), "w");
  ASSERT_NE(out, nullptr);
  std::fputs("\n\nport = 1\n", out);
  std::fclose(out);
  const EndpointVariable endpoint("embedded:" + file);
  EXPECT_EQ(errorsOf(EvtSrv::ConBehave_Default),
            sys::programLine("embedded:" + file + ": " + file + ":3: a device file has no key 'port'\n"));
  std::remove(file.c_str());
}

TEST(NoService, EmbeddedServiceSaysNothing) {
  for (const char* text : {"", "embedded:"}) {
    const EndpointVariable endpoint(text);
    EXPECT_EQ(errorsOf(EvtSrv::ConBehave_Default), "");
  }
  unsetenv("EVTSRV_ENDPOINT");
  EXPECT_EQ(errorsOf(EvtSrv::ConBehave_Default), "");
}

TEST(NoService, LooksLikeADeviceWithoutGroups) {
  const EndpointVariable endpoint("nonsense");
  testing::internal::CaptureStderr();
  EventPortManager manager(EvtSrv::ConBehave_Default, true);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(manager.session(), nullptr);
  EXPECT_EQ(manager.receiveEvent(0), EvtSrv::EvtRes_DoNothing);
  EXPECT_EQ(manager.finishActiveTerm(100), EvtSrv::EvtRes_DoNothing);

  RecordingPort port(manager);
  EXPECT_EQ(port.tap("KeyboardOut1"), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(port.disconnect(nullptr, nullptr), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(port.sendNoteOn(1, 2, 3), StrmSrv::StrmRes_NoService);

  StrmSrv::Patcher patcher(manager, 0);
  std::vector<StrmSrv::PortRecord> ports{{9, 9}};
  EXPECT_TRUE(patcher.sourceGroups().empty());
  EXPECT_TRUE(patcher.sinkGroups().empty());
  EXPECT_EQ(patcher.connect(0, 0, 4, 0), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(patcher.disconnect(0, 0, 4, 0), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(patcher.getConnectSinkPorts(0, 0, ports), StrmSrv::StrmRes_NoService);
  EXPECT_TRUE(ports.empty());
  EXPECT_EQ(patcher.getConnectSourcePorts(0, 0, ports), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(patcher.makeStreamPortName(0, 2, 0, 1), "Group2In1");
}

// How often this thread has gone to sleep.
long timesAsleep() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nvcsw;
}

TEST(NoService, WaitingDoesNotSpin) {
  const EndpointVariable endpoint("nonsense");
  testing::internal::CaptureStderr();
  EventPortManager manager(EvtSrv::ConBehave_Default, true);
  testing::internal::GetCapturedStderr();
  const long before = timesAsleep();
  EXPECT_EQ(manager.receiveEvent(300), EvtSrv::EvtRes_DoNothing);
  const long slept = timesAsleep() - before;
  EXPECT_GE(slept, 1) << "it keeps the processor";
  EXPECT_LE(slept, 20) << "it looks again and again";
}

}  // namespace
}  // namespace client

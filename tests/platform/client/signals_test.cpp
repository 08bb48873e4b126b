// A program whose threads are interrupted all the time.

#include <gtest/gtest.h>
#include <pthread.h>

#include <string>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/support/signal_storm.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;
using Texts = std::vector<std::string>;

TEST(Signals, DoNotDisturbRequestsAndSending) {
  constexpr int Count = 5'000;
  TestService service;
  EventPortManager manager(EvtSrv::ConBehave_Default, true);
  RecordingPort port(manager);
  StrmSrv::Patcher patcher(manager, 0);
  ASSERT_EQ(port.tap("G0Out1"), EvtSrv::EvtRes_Success);
  int failed = 0;
  {
    const testsupport::SignalStorm storm(pthread_self());
    for (int i = 0; i < Count; ++i) {
      if (port.tap("G0Out1") != EvtSrv::EvtRes_Success) ++failed;
      if (port.sendNoteOn(1, 1, 0) != StrmSrv::StrmRes_Success) ++failed;
      const bool made = i % 2 == 0;
      const auto patched = made ? patcher.connect(0, 0, 1, 0) : patcher.disconnect(0, 0, 1, 0);
      if (patched != StrmSrv::StrmRes_Success) ++failed;
    }
  }
  EXPECT_EQ(failed, 0);
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= Count; }));
  EXPECT_EQ(port.texts, Texts(Count, "G0Out1: 1 1 0"));
}

TEST(Signals, DoNotDisturbConnectingAndDisconnecting) {
  TestService service;
  int without = 0;
  const testsupport::SignalStorm storm(pthread_self());
  for (int i = 0; i < 300; ++i) {
    EventPortManager manager(EvtSrv::ConBehave_Default, true);
    if (!manager.session()) ++without;
  }
  EXPECT_EQ(without, 0);
}

}  // namespace
}  // namespace client

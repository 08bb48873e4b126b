// Tests of the library on a streamd that may be killed and started again.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/streamd/quiet_device.h"
#include "tests/support/stream_daemon.h"

namespace streamd {

inline constexpr std::uint32_t Behaviour = EvtSrv::ConBehave_Default;
inline const std::string Port = "MidiUsbOut2";  // nothing is connected to it, and it emits nothing

class DaemonTest : public testing::Test {
 protected:
  explicit DaemonTest(std::vector<std::string> options = {}) : daemon_(Streamd, withDevice(std::move(options))) {}

  void kill() {
    daemon_.signal(SIGKILL);
    ASSERT_TRUE(daemon_.waitForExit(testsupport::Deadline(client::Patience)));
  }

  inline static const std::string Streamd = FLOWSCOPE_BINARY_DIR "/streamd";

  DeviceFile device_;
  testsupport::StreamDaemon daemon_;
  client::EndpointVariable endpoint_{daemon_.endpoint()};

 private:
  std::vector<std::string> withDevice(std::vector<std::string> options) const {
    options.insert(options.begin(), {"--device", device_.path()});
    return options;
  }
};

}  // namespace streamd

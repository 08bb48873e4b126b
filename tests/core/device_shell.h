// A shell on a device.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "tests/core/shell_fixture.h"
#include "traffic/traffic_output.h"

namespace flowscope::test {

// A shell on a device that a file describes, or on the built-in one.
class DeviceShell {
 public:
  explicit DeviceShell(const std::string& toml = "") {
    if (!toml.empty()) {
      std::ofstream(file_) << toml;
      ::setenv("EVTSRV_ENDPOINT", ("embedded:" + file_.string()).c_str(), 1);
    }
    trafficOutput().trafficMode = TrafficOff;
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    manager = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    shell = std::make_unique<FlowScope>(*manager, true, around.io);
    shell->init(*manager);
  }
  DeviceShell(const DeviceShell&) = delete;
  DeviceShell& operator=(const DeviceShell&) = delete;
  ~DeviceShell() { std::filesystem::remove(file_); }

  std::string run(const std::string& line) {
    code = runCommands(*shell, line);
    return around.out.take();
  }

  Surroundings around;
  std::unique_ptr<EvtSrv::EventPortManager> manager;
  std::unique_ptr<FlowScope> shell;
  ResultCode code = 0;

 private:
  std::filesystem::path file_ =
      std::filesystem::temp_directory_path() / ("device-" + std::to_string(::getpid()) + ".toml");
};

}  // namespace flowscope::test

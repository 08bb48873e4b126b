// A console on a device with ports to attach.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/traffic/event_bytes.h"
#include "tests/traffic/recorded/recording_library.h"
#include "tests/traffic/test_shell.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {

class MonitorAttachment : public testing::Test {
 protected:
  MonitorAttachment() {
    recording::reset();
    recording::library().sources = {{2, 3}, {0, 1}, {4, 0}, {50, 1}};
    recording::library().sinks = {{3, 2}};
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    shell.setPatcher(std::make_unique<StrmSrv::Patcher>(manager, 0));
    shell.setTree(
        treeOf("Midi\n"
               "  Source\n"
               "    Seq\n"
               "      Out2.0\n"
               "        Tone\n"
               "          In3.1\n"
               "      Out2.1\n"
               "      Out2.2\n"
               "    Keys\n"
               "      Out0.0\n"
               "    Silent\n"
               "    []\n"
               "      Out50.0\n"
               "    Panel\n"
               "      Gone\n"
               "  Sink\n"
               "    Tone\n"
               "      In3.0\n"
               "      In3.1\n"
               "    Keys\n"
               "Audio\n"
               "Control"));
  }

  void go(const PathComponents& path) { shell.currentPath() = path; }

  EvtSrv::EventResult attach(const char* path) {
    EvtSrv::MemoryHolder holder(MonitorEventBytes);
    return attachPort(shell, path, trafficOutput().monitorTarget, holder);
  }

  static std::string connectOf(const std::string& name) { return "connect " + name + " DebugPort 1004"; }
  static std::vector<std::string> connectsOf(const std::vector<std::string>& names) {
    std::vector<std::string> calls;
    for (const std::string& name : names) calls.push_back(connectOf(name));
    return calls;
  }

  std::vector<std::string>& calls() { return recording::library().calls; }

  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
  TestShell shell{manager};
};

}  // namespace flowscope

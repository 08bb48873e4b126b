// A console on a device with ports to attach.
#pragma once

#include <string>
#include <vector>

#include "tests/traffic/event_bytes.h"
#include "tests/traffic/recorded/recorded_fixture.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {

inline constexpr const char* AttachableDevice =
    "Midi\n"
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
    "Control";

class MonitorAttachment : public RecordedTest {
 protected:
  MonitorAttachment() : RecordedTest({{{2, 3}, {0, 1}, {4, 0}, {50, 1}}, {{3, 2}}, AttachableDevice}) {}

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
};

}  // namespace flowscope

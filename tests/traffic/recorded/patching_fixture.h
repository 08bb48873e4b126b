// A shell on a device of groups that "con" and "dis" are tried on: listed ones, one without a name, one without ports,
// and places that the tree still holds though the device does not list them.
#pragma once

#include "tests/traffic/recorded/recorded_fixture.h"
#include "traffic/port_connections.h"

namespace flowscope {

inline constexpr const char* PatchedDevice =
    "Midi\n"
    "  Source\n"
    "    Seq\n"
    "      Out2.0\n"
    "        Tone\n"
    "          In3.0\n"
    "          In3.1\n"
    "        Keys\n"
    "          In0.0\n"
    "        []\n"
    "          In50.0\n"
    "      Out2.1\n"
    "      Out2.2\n"
    "    Keys\n"
    "      Out0.0\n"
    "    Silent\n"
    "    []\n"
    "      Out50.0\n"
    "    Panel\n"
    "      Out1.0\n"
    "  Sink\n"
    "    Tone\n"
    "      In3.0\n"
    "        Seq\n"
    "          Out2.0\n"
    "          Out2.1\n"
    "      In3.1\n"
    "    Keys\n"
    "      In0.0\n"
    "      Gone\n"
    "    []\n"
    "    Seq\n"
    "      In2.0\n"
    "Audio\n"
    "  Source\n"
    "    Seq\n"
    "      type1:Out2.1\n";

class Patching : public RecordedTest {
 protected:
  Patching() : RecordedTest({{{2, 3}, {0, 1}, {4, 0}, {50, 1}}, {{3, 2}, {0, 1}, {50, 1}}, PatchedDevice}) {}

  ResultCode con(const char* source, const char* destination = nullptr) {
    calls().clear();
    return conCommand(shell, source, destination);
  }

  ResultCode dis(const char* source, const char* destination = nullptr) {
    calls().clear();
    return disCommand(shell, source, destination);
  }
};

}  // namespace flowscope

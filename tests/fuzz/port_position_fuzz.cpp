// Arbitrary paths on the built-in device: a position names only what is there, and the ports that it stands for are
// those of the device.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "evtsrv.h"
#include "strmsrv.h"
#include "traffic/port_list.h"
#include "traffic/port_position.h"

namespace {

using namespace flowscope;

void require(bool met) {
  if (!met) std::abort();
}

const StrmSrv::Patcher& patcher() {
  ::setenv("EVTSRV_ENDPOINT", "embedded:", 1);
  static EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  static const StrmSrv::Patcher made(manager, 0);
  return made;
}

// A byte below the number of names is that name, with others up to the next "/" it is a text.
PathComponents componentsOf(std::string_view text) {
  static constexpr std::array<std::string_view, 16> Names = {
      "Midi",          "Audio",         "Source",           "Sink",  "Sequencer",
      "Thru",          "ToneGenerator", "Keyboard",         "Clock", "SequencerOut4",
      "SequencerOut5", "ThruOut1",      "ToneGeneratorIn4", "[]",    "KeyboardOut1",
      "SequencerIn1"};
  PathComponents components;
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t end = first < Names.size() ? 1 : std::min(text.find('/'), text.size());
    components.emplace_back(first < Names.size() ? Names.at(first) : text.substr(0, end));
    text.remove_prefix(std::min(end + (first < Names.size() ? 0 : 1), text.size()));
  }
  return components;
}

bool listed(PortSide side, const StrmSrv::PortRecord& port) {
  for (const auto& group : groupsOf(patcher(), side)) {
    if (group.groupId == port.groupId) return port.portIndex < group.portCount;
  }
  return false;
}

void check(const PortPosition& position, const PathComponents& components) {
  const std::size_t depth = components.size();
  require(!position.side || depth >= 2);
  require(!position.group ||
          (depth >= 3 && position.side && StrmSrv::GroupNameTable[*position.group] == components[2]));
  require(!position.port || (depth >= 4 && position.group &&
                             portName(patcher(), 0, *position.group, *position.port, *position.side) == components[3]));
  require(!position.connectedGroup || (depth >= 5 && position.group));
  require(position.connectedName.empty() || position.connectedName == components.at(5));
  if (!namesPorts(position, depth)) return;
  try {
    const auto ports = portsOf(position, patcher());
    for (const auto& port : ports) require(listed(*position.side, port));
    require(!position.port || ports.size() == 1);
  } catch (const std::out_of_range&) {
    require(!position.port && !listed(*position.side, {*position.group, 0}));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const PathComponents components = componentsOf(text);
  try {
    check(parsePortPosition(components, patcher()), components);
  } catch (const std::out_of_range&) {
    // A group that is not among the sources, and something behind it.
    require(components.size() >= 4 && components[1] == "Source");
  }
  return 0;
}

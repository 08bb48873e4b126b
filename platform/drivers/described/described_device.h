// A device that exists only as a description: the built-in one, and those of device files.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/device/driver.h"
#include "platform/device/port.h"
#include "platform/device/topology.h"
#include "platform/midi/player.h"

namespace drivers {

// What a source plays. It starts when the source first has a tap or a connection.
template <class Playback>
struct PlayerAt {
  device::PortId source;
  Playback playback;
};

struct DeviceDescription {
  std::vector<device::Group> groups;
  std::vector<device::Link> links;   // that exist at the start, in order of creation
  std::vector<std::uint16_t> thrus;  // groups whose sinks pass messages on to the source with the same index
  std::vector<PlayerAt<midi::ScorePlayback>> scores;
  std::vector<PlayerAt<midi::ClockPlayback>> clocks;
};

// Makes the driver of a described device. If advance is called late, it emits the overdue messages player by player,
// those of each player in order, and at most a few hundred of each player per call.
std::unique_ptr<device::Driver> makeDescribedDevice(DeviceDescription description);

}  // namespace drivers

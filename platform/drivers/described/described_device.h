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

// What a source plays from the first time that it has a tap or a connection.
template <class Playback>
struct PlayerAt {
  device::PortId source;
  Playback playback;
};

struct DeviceDescription {
  std::vector<device::Group> groups;
  std::vector<device::Link> links;   // that stand at the start, in the order of making
  std::vector<std::uint16_t> thrus;  // groups where what enters the sink leaves the source of the same index
  std::vector<PlayerAt<midi::ScorePlayback>> scores;
  std::vector<PlayerAt<midi::ClockPlayback>> clocks;
};

// The driver of a described device. What it has to emit when it is called late comes player by player, the messages of
// each in order, and no more than a few hundred of each in one call.
std::unique_ptr<device::Driver> makeDeviceDriver(DeviceDescription description);

}  // namespace drivers

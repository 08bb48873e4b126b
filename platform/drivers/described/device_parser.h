// The text of a device file, as a description.
//
// [[group]]: id = 3 (0 to 65535, each once), name = "Synth"; sources and sinks say how many ports there are (0 to
// 65535; a side that is not given is not there); with thru = true, what enters sink N leaves source N.
//
// [[connection]]: source = "SynthOut1", sink = "MixerIn1". Ports are called after their group, as in the built-in
// device.
//
// [[player]]: source, and either file = "song.mid" with loop = true and speed = 1 (0: without pauses), or clock = 120
// (beats per minute).
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/drivers/described/described_device.h"
#include "platform/drivers/described/device_problem.h"

namespace drivers {

// A player whose Standard MIDI File is still to be loaded.
struct FilePlayer {
  device::PortId source;
  std::string file;  // as written: relative to the device file, or absolute
  bool loop = true;
  double speed = 1;
  unsigned line = 0;  // of the file's name
};

// A device file that has been understood. device.scores is still empty.
struct ParsedDevice {
  DeviceDescription device;
  std::vector<FilePlayer> filePlayers;
};

// Understands the text of a device file. Group names are cleaned and made unique (see names.h); a connection given
// twice is one. Of several things that are wrong it tells one. Pure.
std::variant<ParsedDevice, DeviceFileProblem> parseDevice(std::string_view text);

}  // namespace drivers

// Parses the text of a device file.
//
// [[group]]: id = 3 (0 to 65535, unique), name = "Synth"; sources and sinks are the numbers of ports (0 to 65535; a
// side that is not given does not exist); with thru = true, sink N passes messages on to source N.
//
// [[connection]]: source = "SynthOut1", sink = "MixerIn1". Ports are named after their group, as in the built-in
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

// A player whose Standard MIDI File is not loaded yet.
struct FilePlayer {
  device::PortId source;
  std::string file;  // as written: relative to the device file, or absolute
  bool loop = true;
  double speed = 1;
  unsigned line = 0;  // of the file name
};

// A parsed device file. device.scores is still empty.
struct ParsedDevice {
  DeviceDescription device;
  std::vector<FilePlayer> filePlayers;
};

// Parses the text of a device file. Group names are cleaned and made unique (see names.h). A connection given twice
// counts once. If several things are wrong, it returns one error. Pure.
std::variant<ParsedDevice, DeviceFileProblem> parseDevice(std::string_view text);

}  // namespace drivers

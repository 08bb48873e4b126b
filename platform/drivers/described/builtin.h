// The device that needs no hardware.
#pragma once

#include <memory>

#include "platform/device/driver.h"

namespace drivers {

// Makes a small studio of nine groups: a sequencer that plays an endless phrase, a clock, two thrus, and ports to play
// with. Ports are named after their group: KeyboardOut1, MidiUsbIn2.
std::unique_ptr<device::Driver> makeBuiltinDriver();

}  // namespace drivers

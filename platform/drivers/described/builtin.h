// The device that is there without any hardware.
#pragma once

#include <memory>

#include "platform/device/driver.h"

namespace drivers {

// A small studio of nine groups: a sequencer that plays an endless phrase, a clock, two thrus, and ports to play
// with. Ports are called after their group: KeyboardOut1, MidiUsbIn2.
std::unique_ptr<device::Driver> makeBuiltinDriver();

}  // namespace drivers

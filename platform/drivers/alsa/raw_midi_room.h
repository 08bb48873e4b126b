// How much fits into the buffer of a raw MIDI device.
//
// What the sequencer passes to a raw MIDI device and does not fit into its buffer is dropped by the kernel, and whoever
// sent it is told that all is well. So the room is asked for before. It stands in /proc/asound/cardC/midiD.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace drivers::alsa {

// A device and those of its buffers that fill when a port of the sequencer is written to.
struct RawMidiPlace {
  int card = 0;
  int device = 0;
  std::optional<int> output{};  // this output; nothing: every input, for a virtual device, whose readers they are

  friend bool operator==(const RawMidiPlace&, const RawMidiPlace&) = default;
};

// Ports of a card's client are numbered through its devices, 32 for each.
RawMidiPlace placeOfHardwarePort(int card, int port);

// A virtual device has a client of its own, whose name ends with the device: "Virtual Raw MIDI 0-3". Nothing when it
// does not.
std::optional<RawMidiPlace> placeOfVirtualPort(int card, std::string_view client);

// The bytes that fit, from the text of the device's file: of several buffers the fullest counts. Nothing when no buffer
// is in use, or none is described.
std::optional<std::size_t> roomIn(std::string_view text, const RawMidiPlace& place);

// The bytes that fit now. Nothing when that cannot be told.
std::optional<std::size_t> roomAt(const RawMidiPlace& place);

}  // namespace drivers::alsa

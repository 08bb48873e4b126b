// How much fits into the buffer of a raw MIDI device.
//
// The kernel drops what the sequencer passes to a raw MIDI device and does not fit into its buffer, and reports success
// to the sender. So the driver asks for the free space first. It is in /proc/asound/cardC/midiD.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace drivers::alsa {

// A device, and those of its buffers that fill when a sequencer port is written to.
struct RawMidiPlace {
  int card = 0;
  int device = 0;
  std::optional<int> output{};  // this output; nullopt: every input (programs read a virtual device there)

  friend bool operator==(const RawMidiPlace&, const RawMidiPlace&) = default;
};

// A card's client numbers its ports across its devices, 32 for each.
RawMidiPlace placeOfHardwarePort(int card, int port);

// A virtual device has a client of its own, whose name ends with the device: "Virtual Raw MIDI 0-3". Returns nullopt if
// the name does not.
std::optional<RawMidiPlace> placeOfVirtualPort(int card, std::string_view client);

// Returns the bytes that fit, from the text of the device's file; of several buffers the fullest counts. Returns
// nullopt if no buffer is in use or described.
std::optional<std::size_t> roomIn(std::string_view text, const RawMidiPlace& place);

// Returns the bytes that fit now; nullopt if that is unknown.
std::optional<std::size_t> roomAt(const RawMidiPlace& place);

}  // namespace drivers::alsa

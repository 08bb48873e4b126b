// What stands in the ALSA sequencer at a moment.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/drivers/alsa/address.h"
#include "platform/drivers/alsa/raw_midi_room.h"
#include "platform/drivers/alsa/sequencer.h"
#include "platform/drivers/foreign/port_book.h"

namespace drivers::alsa {

// What is behind a port that accepts.
struct Receiver {
  std::string text;                       // "14:0 Midi Through Port-0"
  bool kernel = false;                    // no process
  std::optional<RawMidiPlace> rawMidi{};  // where its bytes go, when they do

  friend bool operator==(const Receiver&, const Receiver&) = default;
};

struct SequencerView {
  std::vector<ForeignClient> clients;  // those with ports for MIDI, in the order of their numbers
  std::vector<Subscription> subscriptions;
  std::map<Address, Receiver> receivers;
};

// Asks the kernel for everything. Client 0, the kernel's own, is left out: its timer and its announcements are no MIDI,
// and so are ports that their owner hides, and the clients of drivers in this process. What goes away meanwhile may be
// in or not.
SequencerView readSequencer(const Sequencer& sequencer);

// Who is subscribed to a port that emits.
std::vector<Address> receiversOf(const Sequencer& sequencer, Address sender);

// The name for a port: its own when that begins with the client's, otherwise both.
std::string nameOfPort(std::string_view client, std::string_view port);

}  // namespace drivers::alsa

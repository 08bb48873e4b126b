// The state of the ALSA sequencer at one moment.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/drivers/alsa/address.h"
#include "platform/drivers/alsa/client.h"
#include "platform/drivers/alsa/raw_midi_room.h"
#include "platform/drivers/foreign/port_book.h"

namespace drivers::alsa {

// What is behind a port that accepts messages.
struct Receiver {
  std::string text;                       // "14:0 Midi Through Port-0"
  bool kernel = false;                    // a client of the kernel, not of a process
  std::optional<RawMidiPlace> rawMidi{};  // the device that its bytes go to, if any

  friend bool operator==(const Receiver&, const Receiver&) = default;
};

struct Graph {
  std::vector<ForeignClient> clients;  // those with MIDI ports, in order of their numbers
  std::vector<Subscription> subscriptions;
  std::map<Address, Receiver> receivers;
};

// Reads everything from the kernel. Leaves out client 0, the kernel's own (its timer and announcements are not MIDI),
// ports that their owner hides, and the clients of drivers in this process. What disappears meanwhile may be included
// or not.
Graph readGraph(const Client& own);

// Returns the receivers that are subscribed to a port that emits.
std::vector<Address> receiversOf(const Client& own, Address sender);

// Returns the name for a port: its own if that begins with the client's, otherwise both.
std::string nameOfPort(std::string_view client, std::string_view port);

}  // namespace drivers::alsa

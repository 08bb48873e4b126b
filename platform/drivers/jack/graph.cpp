#include "platform/drivers/jack/graph.h"

#include <jack/jack.h>

#include <cstring>

namespace drivers::jack {
namespace {

// Copies and frees an array that JACK allocated.
std::vector<std::string> taken(const char** names) {
  std::vector<std::string> all;
  if (names == nullptr) return all;
  for (const char** name = names; *name != nullptr; ++name) all.emplace_back(*name);
  jack_free(names);
  return all;
}

}  // namespace

std::vector<JackPort> readPorts(jack_client_t* client, const std::string& ownPrefix) {
  std::vector<JackPort> ports;
  for (std::string& name : taken(jack_get_ports(client, nullptr, JACK_DEFAULT_MIDI_TYPE, 0))) {
    if (name.starts_with(ownPrefix)) continue;
    const jack_port_t* port = jack_port_by_name(client, name.c_str());
    // The port may no longer exist.
    if (port != nullptr) ports.emplace_back(std::move(name), (jack_port_flags(port) & JackPortIsOutput) != 0);
  }
  return ports;
}

std::vector<std::string> connectionsOf(jack_client_t* client, const std::string& port) {
  const jack_port_t* found = jack_port_by_name(client, port.c_str());
  return found == nullptr ? std::vector<std::string>() : taken(jack_port_get_all_connections(client, found));
}

}  // namespace drivers::jack

// JACK's MIDI ports and connections as they are now.
#pragma once

#include <jack/types.h>

#include <string>
#include <vector>

#include "platform/drivers/jack/port_directory.h"

namespace drivers::jack {

// Returns all MIDI ports except those whose names begin with ownPrefix, in JACK's order. Reads shared memory.
std::vector<JackPort> readPorts(jack_client_t* client, const std::string& ownPrefix);

// Returns the ports that a port is connected to; none if the port does not exist. If a change of the graph is about to
// take effect, blocks until then, up to a period: for the server's thread.
std::vector<std::string> connectionsOf(jack_client_t* client, const std::string& port);

}  // namespace drivers::jack

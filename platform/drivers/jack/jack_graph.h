// JACK's MIDI ports and connections, as they stand.
#pragma once

#include <jack/types.h>

#include <string>
#include <vector>

#include "platform/drivers/jack/port_directory.h"

namespace drivers::jack {

// All MIDI ports but those whose names begin with ownPrefix, in JACK's order. Reads shared memory.
std::vector<JackPort> readPorts(jack_client_t* client, const std::string& ownPrefix);

// The ports that a port is connected to; none for one that is not there. When a change of the graph is about to take
// effect, it waits for that, a period.
std::vector<std::string> connectionsOf(jack_client_t* client, const std::string& port);

// Asks the server.
bool clientRuns(jack_client_t* client, const std::string& name);

}  // namespace drivers::jack

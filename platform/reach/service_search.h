// The search for a service that a program can use.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/channel/connector.h"

namespace reach {

// Whether a program uses services of other machines.
enum class Network : std::uint8_t { Allowed, Refused };

// The addresses to try in turn when EVTSRV_ENDPOINT is unset: the well-known local socket, the ALSA sequencer, a JACK
// server, then the built-in device.
std::vector<std::string> defaultAddresses();

// Finds or starts the service at an address (see channel::parseAddress, openEmbedded). Blocks for disk access and for
// the other system.
channel::ConnectorOrProblem openAddress(const std::string& address, Network network);

// Called with the connector to an address. Returns nullopt if the program takes that service, else why not.
using TakeService = std::function<std::optional<std::string>(channel::Connector connector, const std::string& address)>;

// Called with the reason why there is no service at an address.
using ReportProblem = std::function<void(const std::string& address, const channel::ConnectProblem& problem)>;

// Tries the addresses in turn until take accepts a service. Where nothing listens, only the last address is reported.
// Returns true if a service was taken. Blocks as long as openAddress and take.
bool findService(const std::vector<std::string>& addresses, Network network, const TakeService& take,
                 const ReportProblem& report);

}  // namespace reach

// What a player plays, into the service.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/midi/player.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"

namespace streamctl {

// Starts the player and passes what it plays through the port, in time, until it has ended or a signal has come; then
// waits until the service has taken everything, and takes leave. Nothing on success, else why not, in one printable
// line. progress is told, several times in a second and after each frame, how many messages of the player have been
// handed over.
//
// pass: the number of messages in one pass of the player. Notes that still sound are ended before the next pass begins,
// and when playing ends early. 0: no notes are ended.
std::optional<std::string> playInto(ServiceClient& service, const std::string& port, midi::Player& player,
                                    std::uint64_t pass, const StopSignals& signals,
                                    const std::function<void(std::uint64_t messages)>& progress);

}  // namespace streamctl

// Sends what a player plays to the service.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/midi/player.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"

namespace streamctl {

// Starts the player and passes its messages through the port, in time, until it ends or a signal arrives. Then waits
// until the service has taken everything, and sends Goodbye. Returns nullopt on success, else the cause as one
// printable line, also if another system has no form for some of the messages: the others are still sent. Calls
// progress several times a second and after each frame with the number of the player's messages sent so far.
//
// pass: the number of messages in one pass of the player. Sounding notes are ended before another pass begins, and when
// playing ends early; with 0 they are not ended.
std::optional<std::string> playInto(ServiceClient& service, const std::string& port, midi::Player& player,
                                    std::uint64_t pass, const StopSignals& signals,
                                    const std::function<void(std::uint64_t messages)>& progress);

}  // namespace streamctl

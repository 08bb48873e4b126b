// The first message on a channel.
#pragma once

#include <cstdint>

#include "platform/channel/connection.h"
#include "platform/channel/deadline.h"
#include "platform/wire/messages.h"

namespace channel {

enum class Opening : std::uint8_t { Opened, Refused, NotYet };

// Sends the message that opens a channel. Returns false if it could not be sent.
bool askToOpen(Connection& connection, const wire::Body& message);

// Waits for the answer. NotYet: none arrived in time; it may still arrive.
Opening waitForOpening(Connection& connection, const Deadline& deadline);

}  // namespace channel

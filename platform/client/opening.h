// The first message on a channel.
#pragma once

#include <cstdint>

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/wire/messages.h"

namespace client {

enum class Opening : std::uint8_t { Opened, Refused, NotYet };

// Sends the message that opens a channel. Returns false if it could not be sent.
bool askToOpen(Dealer& dealer, const wire::Body& message);

// Waits for the answer. NotYet: none arrived in time; it may still arrive.
Opening waitForOpening(Dealer& dealer, const Deadline& deadline);

}  // namespace client

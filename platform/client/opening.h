// The first message on a channel.
#pragma once

#include <cstdint>

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/wire/messages.h"

namespace client {

enum class Opening : std::uint8_t { Opened, Refused, NotYet };

// Sends the message that opens a channel. False when it could not be handed over.
bool askToOpen(Dealer& dealer, const wire::Body& message);

// Waits for the answer. NotYet: none has come in time; it may still come.
Opening waitForOpening(Dealer& dealer, const Deadline& deadline);

}  // namespace client

// The first message on a channel.
#pragma once

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/wire/messages.h"

namespace client {

// Sends the message that opens a channel and waits for the answer. False when the service has not agreed in time.
bool openChannel(Dealer& dealer, const wire::Body& message, const Deadline& deadline);

}  // namespace client

// Changes that the sequencer announces.
#pragma once

#include <vector>

#include "platform/drivers/alsa/address.h"
#include "platform/drivers/alsa/client.h"

namespace drivers::alsa {

// What may have changed. It may be outdated or known already: ask the kernel before acting on it.
struct Changes {
  bool ports = false;                       // clients or ports; any subscription may have changed, too
  std::vector<Subscription> subscriptions;  // made or ended

  bool any() const { return ports || !subscriptions.empty(); }
};

// Subscribes a port of the client to System:Announce. Throws SequencerError.
void listenToAnnouncements(Client& client);

// Adds what has been announced to that client since the last call. If the kernel lost announcements, anything may have
// changed.
void readAnnouncements(const Client& client, Changes& changes);

}  // namespace drivers::alsa

// What the sequencer announces about itself.
#pragma once

#include <vector>

#include "platform/drivers/alsa/address.h"
#include "platform/drivers/alsa/sequencer.h"

namespace drivers::alsa {

// What may have changed. It need not be so any more, and some of it may be known: whoever acts asks the kernel first.
struct Changes {
  bool ports = false;                       // clients and ports, and with them anything
  std::vector<Subscription> subscriptions;  // made or ended

  bool any() const { return ports || !subscriptions.empty(); }
};

// Subscribes a port of the client to System:Announce. Throws SequencerError.
void listenToAnnouncements(Sequencer& sequencer);

// Adds what has been announced to that client since. When the kernel has lost some, anything may have changed.
void readAnnouncements(const Sequencer& sequencer, Changes& changes);

}  // namespace drivers::alsa

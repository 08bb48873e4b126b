#include "platform/drivers/alsa/changes.h"

#include <cerrno>

namespace drivers::alsa {

void listenToAnnouncements(Client& client) {
  const Address port = client.createPort("announcements", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT);
  const int code = client.subscribe({{SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE}, port});
  if (code < 0) throw SequencerError("cannot subscribe to the announcements of the ALSA sequencer", code);
}

void readAnnouncements(const Client& client, Changes& changes) {
  for (;;) {
    snd_seq_event_t* event = nullptr;
    const int code = snd_seq_event_input(client.handle(), &event);
    if (code == -EINTR) continue;
    if (code == -ENOSPC) {
      changes.ports = true;
      continue;
    }
    if (code < 0) return;
    switch (event->type) {
      case SND_SEQ_EVENT_CLIENT_START:
      case SND_SEQ_EVENT_CLIENT_EXIT:
      case SND_SEQ_EVENT_CLIENT_CHANGE:
      case SND_SEQ_EVENT_PORT_START:
      case SND_SEQ_EVENT_PORT_EXIT:
      case SND_SEQ_EVENT_PORT_CHANGE:
        changes.ports = true;
        break;
      case SND_SEQ_EVENT_PORT_SUBSCRIBED:
      case SND_SEQ_EVENT_PORT_UNSUBSCRIBED: {
        const auto& [sender, receiver] = event->data.connect;
        changes.subscriptions.push_back({{sender.client, sender.port}, {receiver.client, receiver.port}});
        break;
      }
      default:
        break;
    }
  }
}

}  // namespace drivers::alsa

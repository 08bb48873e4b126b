#include "platform/host/stats_message.h"

#include <algorithm>
#include <vector>

namespace host {

wire::Stats statsMessage(const service::Service& service, const SessionTable& sessions, const Settings& settings) {
  std::vector<const Session*> inOrder;
  for (const auto& [number, session] : sessions.all()) inOrder.push_back(&session);
  std::ranges::sort(inOrder, {}, &Session::client);

  const service::Counts all = service.counts();
  wire::Stats message{.in = all.in,
                      .out = all.out,
                      .lost = all.lost + all.lostBefore,
                      .queueLimit = settings.service.queueBytes,
                      .clients = {},
                      .uncountedLosses = all.uncountedLosses,
                      .unsendable = all.unsendable};
  for (const Session* session : inOrder) {
    const service::ClientCounts counts = service.counts(session->client);
    message.clients.push_back({.program = session->peer.program,
                               .process = session->peer.process,
                               .taps = counts.taps,
                               .in = counts.in,
                               .out = counts.out,
                               .lost = counts.lost,
                               .queueBytes = counts.queueBytes,
                               .unsendable = counts.unsendable});
  }
  return message;
}

}  // namespace host

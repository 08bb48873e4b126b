// The counts of a service and its clients in pieces.
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/host/long_answer.h"
#include "platform/host/session_table.h"

namespace host {
namespace {

// Counting what one client has takes longer than listing a connection.
constexpr std::size_t ClientsAtOnce = 2000;

class StatsPieces : public LongAnswer {
 public:
  StatsPieces(const service::Service& service, const SessionTable& sessions, const Settings& settings)
      : service_(service), sessions_(sessions), queueLimit_(settings.service.queueBytes) {}

  Piece next() override {
    const std::vector<const Session*> sessions = nextSessions();
    const service::Counts all = service_.counts();
    wire::Stats piece{.in = all.in,
                      .out = all.out,
                      .lost = all.lost + all.lostBefore,
                      .queueLimit = queueLimit_,
                      .clients = {},
                      .uncountedLosses = all.uncountedLosses,
                      .unsendable = all.unsendable,
                      .part = {.first = !last_, .more = sessions.size() == ClientsAtOnce}};
    piece.clients.reserve(sessions.size());
    for (const Session* session : sessions) {
      const service::ClientCounts counts = service_.counts(session->client);
      piece.clients.push_back({.program = session->peer.program,
                               .process = session->peer.process,
                               .taps = counts.taps,
                               .in = counts.in,
                               .out = counts.out,
                               .lost = counts.lost,
                               .queueBytes = counts.queueBytes,
                               .unsendable = counts.unsendable});
      last_ = session->client;
    }
    const bool more = piece.part.more;
    return {std::move(piece), more};
  }

 private:
  // The next ones in the order of connecting.
  std::vector<const Session*> nextSessions() const {
    std::vector<const Session*> next;
    for (const auto& [number, session] : sessions_.all()) {
      if (!last_ || session.client > *last_) next.push_back(&session);
    }
    if (next.size() > ClientsAtOnce) {
      const auto end = next.begin() + static_cast<std::ptrdiff_t>(ClientsAtOnce);
      std::ranges::nth_element(next, end, {}, &Session::client);
      next.erase(end, next.end());
    }
    std::ranges::sort(next, {}, &Session::client);
    return next;
  }

  const service::Service& service_;
  const SessionTable& sessions_;
  std::size_t queueLimit_;
  std::optional<service::ClientId> last_;
};

}  // namespace

std::unique_ptr<LongAnswer> statsAnswer(const service::Service& service, const SessionTable& sessions,
                                        const Settings& settings) {
  return std::make_unique<StatsPieces>(service, sessions, settings);
}

}  // namespace host

#include "platform/drivers/alsa/graph_reports.h"

#include <string>
#include <utility>

namespace drivers::alsa {

void GraphReports::begin() {
  const Graph graph = readGraph(client_);
  ports_.update(graph.clients);
  clientLog_.update(graph.clients);
}

std::map<Address, Receiver> GraphReports::readAll(device::DriverEvents& events, device::Time now) {
  Graph graph = readGraph(client_);
  if (ports_.update(graph.clients)) events.topologyChanged(now);
  for (const std::string& line : clientLog_.update(graph.clients)) events.noted(line);
  std::set<device::Link> standing;
  for (const Subscription& subscription : graph.subscriptions) {
    if (const auto link = linkOf(subscription)) standing.insert(*link);
  }
  const std::set<device::Link> told = std::exchange(links_, standing);
  const device::Topology& topology = ports_.topology();
  for (const device::Link& link : told) {
    // Connections of removed ports ended with the ports.
    const bool exist = topology.exists(link.source()) && topology.exists(link.sink());
    if (!standing.contains(link) && exist) events.unlinked(link, now);
  }
  for (const device::Link& link : standing) {
    if (!told.contains(link)) events.linked(link, now);
  }
  return std::move(graph.receivers);
}

void GraphReports::readLink(const Subscription& subscription, device::DriverEvents& events, device::Time now) {
  const auto link = linkOf(subscription);
  if (!link) return;
  if (client_.stands(subscription)) {
    if (links_.insert(*link).second) events.linked(*link, now);
  } else if (links_.erase(*link) != 0) {
    events.unlinked(*link, now);
  }
}

device::Status GraphReports::patch(bool made, const device::Link& link, device::DriverEvents& events,
                                   device::Time now) {
  const auto source = ports_.key(link.source());
  const auto sink = ports_.key(link.sink());
  if (!source || !sink) return device::Status::NotFound;
  const Subscription subscription{addressOf(*source), addressOf(*sink)};
  const int code = made ? client_.subscribe(subscription) : client_.unsubscribe(subscription);
  const bool stood = links_.contains(link);
  readLink(subscription, events, now);
  if (made) {
    if (links_.contains(link)) return device::Status::Ok;
    const device::Topology& topology = ports_.topology();
    events.noted("cannot connect \"" + topology.name(link.source()) + "\" to \"" + topology.name(link.sink()) +
                 "\": " + errorText(code));
    return device::Status::Refused;
  }
  if (links_.contains(link)) return device::Status::Refused;
  return code >= 0 || stood ? device::Status::Ok : device::Status::NotFound;
}

std::optional<device::Link> GraphReports::linkOf(const Subscription& subscription) const {
  return ports_.link(keyOf(subscription.sender), keyOf(subscription.receiver));
}

}  // namespace drivers::alsa

#include "platform/drivers/jack/graph_reports.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <utility>

#include "platform/drivers/jack/graph.h"
#include "platform/system/earliest.h"

namespace drivers::jack {
namespace {

constexpr device::Time BetweenRestores = std::chrono::seconds(1);
constexpr std::chrono::milliseconds PatienceForLinks = std::chrono::seconds(1);

}  // namespace

void GraphReports::begin(const Client& client) {
  ports_.update(jack::readPorts(client.handle(), client.portPrefix()));
  enterClients();
  clientLog_.update(ports_.clients());
  readLinks(client);
  read_ = links_.take(PatienceForLinks);
}

void GraphReports::readPorts(const Client& client, device::DriverEvents& events, device::Time now) {
  stale_ = false;
  const bool changed = ports_.update(jack::readPorts(client.handle(), client.portPrefix()));
  enterClients();
  const auto stillRuns = [this](const std::string& name) { return running_.contains(name); };
  for (const std::string& line : clientLog_.update(ports_.clients(), stillRuns)) events.noted(line);
  if (changed) events.topologyChanged(now);
  // A port that returned unnoticed also needs its tap again.
  tapsDue_ = now;
}

void GraphReports::readLinks(const Client& client) {
  std::vector<std::string> sources;
  for (const device::Group& group : ports_.topology().groups()) {
    const std::uint16_t count = group.sources ? group.sources->count : std::uint16_t{0};
    for (std::uint16_t index = 0; index < count; ++index) {
      if (const auto source = ports_.name({group.handle, index, device::Side::Source})) sources.push_back(*source);
    }
  }
  links_.begin(client, std::move(sources));
}

void GraphReports::tellLinks(device::DriverEvents& events, device::Time now) {
  std::vector<NamedLink> read = std::exchange(read_, {});
  std::ranges::move(links_.take(), std::back_inserter(read));
  for (const auto& [source, sink] : read) {
    if (const auto link = ports_.link(source, sink)) events.linked(*link, now);
  }
}

bool GraphReports::readChanges(Client& client, Patches& patches, device::DriverEvents& events, device::Time now) {
  for (const Change& change : client.changes().take()) {
    if (!readChange(change, client, patches, events, now)) return false;
  }
  if (stale_) readPorts(client, events, now);
  return true;
}

// Returns false if nothing follows.
bool GraphReports::readChange(const Change& change, const Client& client, Patches& patches,
                              device::DriverEvents& events, device::Time now) {
  switch (change.kind) {
    case Change::Kind::ClientCame:
      running_.insert(change.source);
      stale_ = true;
      return true;
    case Change::Kind::ClientLeft:
      running_.erase(change.source);
      stale_ = true;
      return true;
    case Change::Kind::Ports:
      stale_ = true;
      return true;
    case Change::Kind::Renamed:
      readPorts(client, events, now);
      readLinks(client);
      return true;
    case Change::Kind::Ended:
      return false;
    case Change::Kind::Connected:
    case Change::Kind::Disconnected:
      break;
  }
  const std::string& prefix = client.portPrefix();
  const bool made = change.kind == Change::Kind::Connected;
  if (change.sink.starts_with(prefix)) {
    // Another client ended a tap's connection, unless the source no longer exists.
    if (!made) sys::keepEarlier(tapsDue_, now + BetweenRestores);
    return true;
  }
  if (change.source.starts_with(prefix)) return true;
  if (stale_) readPorts(client, events, now);
  links_.changed(change.source, change.sink);
  if (!patches.isNews(change.source, change.sink, made)) return true;
  const auto link = ports_.link(change.source, change.sink);
  if (!link) return true;
  if (made) {
    events.linked(*link, now);
  } else {
    events.unlinked(*link, now);
  }
  return true;
}

// Clients that were there before ours have not been announced.
void GraphReports::enterClients() {
  for (const ForeignClient& client : ports_.clients()) running_.insert(client.name);
}

void GraphReports::clientGone(device::DriverEvents& events, device::Time now) {
  running_.clear();
  clientLog_.systemGone();
  links_.clientGone();
  stale_ = false;
  tapsDue_.reset();
  if (ports_.update({})) events.topologyChanged(now);
}

}  // namespace drivers::jack

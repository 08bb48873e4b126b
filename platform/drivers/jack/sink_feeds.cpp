#include "platform/drivers/jack/sink_feeds.h"

#include <jack/jack.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/drivers/foreign/final_drain.h"
#include "platform/system/earliest.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;

constexpr device::Time IdleFor = 10s;
constexpr device::Time BetweenFeedTries = 1s;

// Senders are held back long before this limit; what comes from other systems cannot be held back.
constexpr std::size_t MaxWaiting = std::size_t{16} * 1024 * 1024;

// On the server's thread. Returns 0 if the port with this number is connected to the sink.
int connectFeed(Client& client, std::size_t number, const std::string& sink) {
  const char* own = jack_port_name(client.output().port(number));
  const int result = jack_connect(client.handle(), own, sink.c_str());
  return result == EEXIST ? 0 : result;
}

// Why nothing can be sent to the sink with this name in JACK, nullopt if it has none.
std::string_view whyNoFeed(const Client& client, const std::optional<std::string>& name) {
  const bool exists = name && jack_port_by_name(client.handle(), name->c_str()) != nullptr;
  return exists ? unsent::NotConnected : unsent::PortHasGone;
}

}  // namespace

bool SinkFeeds::send(Client& client, const PortDirectory& ports, device::PortId sink,
                     std::span<const std::uint8_t> bytes, device::Time now) {
  const auto found = feeds_.find(sink);
  Feed* feed = found != feeds_.end() ? &found->second : open(client, ports, sink, now);
  if (feed == nullptr) {
    bursts_.addUnsent(1, ports.text(sink), whyNoFeed(client, ports.name(sink)), now);
    return true;
  }
  if (waiting_ + bytes.size() > MaxWaiting) {
    bursts_.addUnsent(1, feed->sinkName, unsent::TooMuchWaits, now);
    return true;
  }
  waiting_ -= feed->queue.waitingBytes();
  feed->queue.put(bytes);
  waiting_ += feed->queue.waitingBytes();
  feed->lastUse = now;
  return found == feeds_.end() || feed->queue.waitingBytes() > 0;
}

std::optional<device::Time> SinkFeeds::pump(Client& client, const PortDirectory& ports, device::Time now) {
  std::optional<device::Time> next;
  for (auto at = feeds_.begin(); at != feeds_.end();) {
    const auto name = ports.name(at->first);
    Feed& feed = at->second;
    pumpQueue(feed);
    const bool refused = isRefused(feed);
    if (feed.request && server_.result(feed.request)) feed.request.reset();
    const bool waits = client.output().waits(feed.number);
    if (!feed.request && (refused || !name || (!waits && now >= feed.lastUse + IdleFor))) {
      at = close(client, at, whyNoFeed(client, name), now);
      continue;
    }
    if (!feed.request && waits && !client.output().settled(feed.number) && now >= feed.lastTry + BetweenFeedTries) {
      feed.lastTry = now;
      feed.request =
          server_.ask([&client, number = feed.number, sink = *name] { return connectFeed(client, number, sink); });
    }
    if (feed.queue.waitingBytes() > 0) {
      sys::keepEarlier(next, now + std::max<device::Time>(client.period(), 1ms));
    } else if (!feed.request) {
      sys::keepEarlier(next, waits ? now + BetweenFeedTries : feed.lastUse + IdleFor);
    }
    ++at;
  }
  return next;
}

void SinkFeeds::finish(Client& client) {
  if (unsentBytes(client) == 0) return;
  const auto pause = std::max<std::chrono::nanoseconds>(client.period(), 1ms);
  const auto sendMore = [this] {
    for (auto& [sink, feed] : feeds_) pumpQueue(feed);
  };
  drainFinally(pause, sendMore, [&] { return unsentBytes(client); });
  // What the process callback has written for a period is read in that period, which may not be over yet.
  std::this_thread::sleep_for(2 * pause);
}

std::size_t SinkFeeds::unsentBytes(Client& client) const {
  std::size_t bytes = 0;
  for (const auto& [sink, feed] : feeds_) {
    if (!isRefused(feed)) bytes += feed.queue.waitingBytes() + client.output().ring(feed.number).size();
  }
  return bytes;
}

bool SinkFeeds::isRefused(const Feed& feed) const {
  return feed.request && server_.result(feed.request).value_or(0) != 0;
}

void SinkFeeds::pumpQueue(Feed& feed) {
  waiting_ -= feed.queue.waitingBytes();
  feed.queue.pump();
  waiting_ += feed.queue.waitingBytes();
}

void SinkFeeds::clientGone(Client& client, device::Time now) {
  for (auto& [sink, feed] : feeds_) {
    // Its port may just be made.
    const std::uint64_t left = feed.queue.waitingMessages() + client.output().abandon(feed.number);
    if (left > 0) bursts_.addUnsent(left, feed.sinkName, unsent::PortHasGone, now);
  }
  feeds_.clear();
  waiting_ = 0;
}

SinkFeeds::Feed* SinkFeeds::open(Client& client, const PortDirectory& ports, device::PortId sink, device::Time now) {
  const auto name = ports.name(sink);
  const auto number = name ? client.output().reserve() : std::nullopt;
  if (!number) return nullptr;
  Feed feed(*name, *number, client.output().ring(*number));
  feed.lastTry = now;
  feed.request = server_.ask([&client, number = *number, sinkName = *name] {
    return client.output().open(client.handle(), number) ? connectFeed(client, number, sinkName) : NoPort;
  });
  return &feeds_.emplace(sink, std::move(feed)).first->second;
}

SinkFeeds::Feeds::iterator SinkFeeds::close(Client& client, Feeds::iterator feed, std::string_view reason,
                                            device::Time now) {
  waiting_ -= feed->second.queue.waitingBytes();
  std::uint64_t left = feed->second.queue.waitingMessages();
  const Output::Closed closed = client.output().close(feed->second.number);
  left += closed.messages;
  if (left > 0) bursts_.addUnsent(left, feed->second.sinkName, reason, now);
  if (closed.port != nullptr) {
    server_.ask([&client, port = closed.port] { return jack_port_unregister(client.handle(), port); });
  }
  return feeds_.erase(feed);
}

}  // namespace drivers::jack

#include "platform/drivers/alsa/sink_feeds.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "platform/drivers/foreign/final_drain.h"
#include "platform/drivers/foreign/sendable.h"
#include "platform/system/earliest.h"

namespace drivers::alsa {
namespace {

// A receiver that reads makes room within the shortest pause; a slow one is tried less often.
constexpr device::Time ShortestPause = std::chrono::milliseconds(1);
constexpr device::Time LongestPause = std::chrono::milliseconds(16);

// Small, because a program only waits until its last message is accepted: little may be left to send when it ends.
constexpr std::size_t BehindBytes = 4U << 10U;

// Senders are held back long before this limit; what other devices emit cannot be held back.
constexpr std::size_t MostBytesOfSink = 8U << 20U;

}  // namespace

SinkFeeds::SinkFeeds(Client& client) : client_(client), port_(client.createPort("out", SND_SEQ_PORT_CAP_READ)) {}

SinkFeeds::~SinkFeeds() {
  const auto sendMore = [this] {
    const device::Time now = std::chrono::steady_clock::now().time_since_epoch();
    for (auto& [address, sink] : sinks_) go(sink, now);
  };
  drainFinally(ShortestPause, sendMore, [this] { return bytes(); });
}

device::Delivery SinkFeeds::send(Address to, const device::Message& message, device::Time now) {
  const auto receiver = receivers_.find(to);
  if (receiver == receivers_.end()) return device::Delivery::Taken;
  std::vector<std::uint8_t> bytes;
  if (const auto why = appendSendable(message, bytes)) {
    log_.addUnsent(1, receiver->second.text, *why, now);
    return device::Delivery::Unsendable;
  }
  Sink& sink = sinks_.try_emplace(to, Sink{SinkQueue(port_, to, receiver->second)}).first->second;
  if (sink.queue.bytes() + bytes.size() > MostBytesOfSink) {
    log_.addUnsent(1, receiver->second.text, unsent::TooMuchWaits, now);
    return device::Delivery::Taken;
  }
  sink.queue.add(std::move(bytes));
  if (sink.queue.messages() == 1) go(sink, now);
  return device::Delivery::Taken;
}

void SinkFeeds::setReceivers(const std::map<Address, Receiver>& receivers, device::Time now) {
  receivers_ = receivers;
  for (auto sink = sinks_.begin(); sink != sinks_.end();) {
    auto& queue = sink->second.queue;
    const auto found = receivers_.find(sink->first);
    if (found != receivers_.end() && found->second == queue.receiver()) {
      queue.reopen();
      ++sink;
      continue;
    }
    drop(queue, now);
    sink = sinks_.erase(sink);
  }
}

std::optional<device::Time> SinkFeeds::advance(device::DriverEvents& events, device::Time now) {
  std::optional<device::Time> next;
  for (auto& [address, sink] : sinks_) {
    if (sink.queue.messages() == 0) continue;
    if (sink.retry <= now) go(sink, now);
    if (sink.queue.messages() != 0) sys::keepEarlier(next, sink.retry);
  }
  sys::keepEarlier(next, log_.advance(now, [&](std::string_view text) { events.noted(text); }));
  return next;
}

void SinkFeeds::finish(device::DriverEvents& events) {
  log_.finish([&](std::string_view text) { events.noted(text); });
}

bool SinkFeeds::behind() const { return bytes() > BehindBytes; }

std::size_t SinkFeeds::bytes() const {
  std::size_t sum = 0;
  for (const auto& [address, sink] : sinks_) sum += sink.queue.bytes();
  return sum;
}

void SinkFeeds::drop(SinkQueue& queue, device::Time now) {
  if (queue.messages() != 0) log_.addUnsent(queue.messages(), queue.receiver().text, unsent::PortHasGone, now);
}

void SinkFeeds::go(Sink& sink, device::Time now) {
  for (;;) {
    const std::size_t before = sink.queue.bytes();
    const SinkQueue::Progress progress = sink.queue.send(client_, encoder_);
    switch (progress) {
      case SinkQueue::Progress::Refused:
        log_.addUnsent(1, sink.queue.receiver().text, errorText(sink.queue.code()), now);
        continue;
      case SinkQueue::Progress::Gone:
        drop(sink.queue, now);
        sink.queue.clear();
        return;
      case SinkQueue::Progress::Done:
        sink.pause = {};
        return;
      case SinkQueue::Progress::More:
        sink.retry = now;
        return;
      case SinkQueue::Progress::Full:
        sink.pause =
            sink.queue.bytes() != before ? ShortestPause : std::clamp(2 * sink.pause, ShortestPause, LongestPause);
        sink.retry = now + sink.pause;
        return;
    }
  }
}

}  // namespace drivers::alsa

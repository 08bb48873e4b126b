#include "platform/streamctl/playback.h"

#include <algorithm>
#include <chrono>

#include "platform/client/port_names.h"
#include "platform/streamctl/frame_batch.h"

namespace streamctl {
namespace {

// How long to wait for what is due without a look at the service.
constexpr std::chrono::milliseconds LongestWait{100};

// How much may be on its way before the service has taken it. The window of the service counts frames, and a frame
// may hold a megabyte.
constexpr std::size_t MaxBytesOnTheWay = 1U << 20U;

service::Time clockNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

// Hands frames over.
class Sender {
 public:
  Sender(client::ControlChannel& channel, const std::string& port) : channel_(channel), port_(port) {}

  // False when the service does not take the message, or one before it.
  bool add(const service::Message& message) {
    if (!batch_.hasRoomFor(message) && !flush()) return false;
    batch_.add(message);
    return true;
  }

  bool flush() {
    if (batch_.empty()) return true;
    onTheWay_ += batch_.bytes();
    const bool taken = channel_.inject(port_, batch_.take()) && !channel_.refusal();
    if (!taken || onTheWay_ < MaxBytesOnTheWay) return taken;
    onTheWay_ = 0;
    return channel_.finish();
  }

 private:
  client::ControlChannel& channel_;
  const std::string& port_;
  FrameBatch batch_;
  std::size_t onTheWay_ = 0;
};

bool play(client::ControlChannel& channel, const std::string& port, service::Player& player, const StopSignals& signals,
          const std::function<void(std::uint64_t messages)>& progress) {
  Sender sender(channel, port);
  std::uint64_t messages = 0;
  player.start(clockNow());
  while (const auto due = player.due()) {
    signals.waitUntil(std::min(*due, clockNow() + LongestWait));
    const service::Time now = clockNow();
    // In pieces, as what is played without pauses may never end.
    for (std::size_t i = 0; i < FrameBatch::MaxMessages && signals.caught() == 0; ++i) {
      const auto message = player.next(now);
      if (!message) break;
      if (!sender.add(*message)) return false;
      ++messages;
    }
    if (!sender.flush() || channel.lost()) return false;
    progress(messages);
    if (signals.caught() != 0) break;
  }
  return channel.finish();
}

}  // namespace

std::optional<std::string> playInto(ServiceClient& service, const std::string& port, service::Player& player,
                                    const StopSignals& signals,
                                    const std::function<void(std::uint64_t messages)>& progress) {
  // Asked first: a refusal would come only with the first message, which may have minutes to go.
  const auto topology = service.ask<wire::Topology, wire::AskTopology>();
  if (!topology) return service.whyNot();
  if (!client::PortNames(*topology).has(port)) return noSuchPort(port);
  if (!play(service.channel(), port, player, signals, progress)) return service.whyNot(port);
  service.leave();
  return std::nullopt;
}

}  // namespace streamctl

#include "platform/streamctl/playback.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/channel/deadline.h"
#include "platform/device/topology.h"
#include "platform/midi/sounding_notes.h"
#include "platform/streamctl/frame_batch.h"
#include "platform/wire/loss_text.h"

namespace streamctl {

using channel::clockNow;

namespace {

// The longest wait for the next message without a check of the service.
constexpr std::chrono::milliseconds LongestWait{100};

// How many bytes may be sent before the service has taken them. The service's window counts frames, and a frame may
// have a megabyte.
constexpr std::size_t MaxBytesOnTheWay = 1U << 20U;

// Sends frames and keeps track of the notes that sound.
class Sender {
 public:
  Sender(channel::ControlChannel& channel, const std::string& port) : channel_(channel), port_(port) {}

  // Returns false if the service does not take this message or an earlier one.
  bool add(const device::Message& message) {
    sounding_.passed(message);
    if (!batch_.hasRoomFor(message) && !flush()) return false;
    batch_.add(message);
    return true;
  }

  // Ends the sounding notes. Returns false as add does.
  bool silence() {
    return std::ranges::all_of(sounding_.takeEnds(), [this](const midi::ScoreEvent& end) {
      return add({end.group, end.bytes});
    });
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
  channel::ControlChannel& channel_;
  const std::string& port_;
  midi::SoundingNotes sounding_;
  FrameBatch batch_;
  std::size_t onTheWay_ = 0;
};

// Returns false if the service does not take everything.
bool play(Sender& sender, channel::ControlChannel& channel, midi::Player& player, std::uint64_t pass,
          const StopSignals& signals, const std::function<void(std::uint64_t messages)>& progress) {
  std::uint64_t messages = 0;
  player.start(clockNow());
  while (const auto due = player.due()) {
    signals.waitUntil(std::min(*due, clockNow() + LongestWait));
    const device::Time now = clockNow();
    // In pieces, because playing without pauses may never end.
    for (std::size_t i = 0; i < FrameBatch::MaxMessages && signals.caught() == 0; ++i) {
      const auto message = player.next(now);
      if (!message) break;
      const bool begins = pass != 0 && messages != 0 && messages % pass == 0;
      if ((begins && !sender.silence()) || !sender.add(*message)) return false;
      ++messages;
    }
    if (!sender.flush() || channel.lost()) return false;
    progress(messages);
    if (signals.caught() != 0) break;
  }
  return true;
}

// Plays. If playing ends early, ends the sounding notes.
bool playAndSilence(channel::ControlChannel& channel, const std::string& port, midi::Player& player, std::uint64_t pass,
                    const StopSignals& signals, const std::function<void(std::uint64_t messages)>& progress) {
  Sender sender(channel, port);
  const bool played = play(sender, channel, player, pass, signals, progress);
  const bool early = !played || player.due();
  const bool silenced = pass == 0 || !early || channel.lost() || (sender.silence() && sender.flush());
  // A service that refused a message may still take the ends of the notes; one that does not answer is not waited for
  // again.
  const bool taken = (played || channel.refusal()) && channel.finish();
  return played && silenced && taken;
}

// What to say of the messages that another system has no form for; nullopt if there were none.
std::optional<std::string> unsendableOf(channel::ControlChannel& channel) {
  // A service that is lost may have said something before.
  channel.look();
  if (channel.unsendable() == 0) return std::nullopt;
  return wire::unsendableText(channel.unsendable());
}

}  // namespace

std::optional<std::string> playInto(ServiceClient& service, const std::string& port, midi::Player& player,
                                    std::uint64_t pass, const StopSignals& signals,
                                    const std::function<void(std::uint64_t messages)>& progress) {
  // Checked first: the service would refuse only the first message, which may be minutes away.
  auto topology = service.topology();
  if (!topology) return service.whyNot();
  if (!device::Topology(std::move(topology->groups)).port(port)) return noSuchPort(port);
  const bool played = playAndSilence(service.channel(), port, player, pass, signals, progress);
  auto unsendable = unsendableOf(service.channel());
  if (!played) return service.whyNot(port) + (unsendable ? "; " + *unsendable : std::string());
  service.leave();
  return unsendable;
}

}  // namespace streamctl

// What a client does to be attached to a service, and to be attached again.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/carried_links.h"
#include "platform/channel/tap_list.h"
#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/wire/messages.h"

namespace channel {

// Taps to make, one after the other.
struct TapRound {
  std::vector<TapList::Key> keys;
  std::size_t at = 0;
  std::size_t made = 0;
  std::optional<device::Time> until;  // of all together; nullopt: each has its own
};

// Decides when to connect, which taps to make and what to tell the user. It performs nothing and reads no clock: next()
// names an action, and the caller performs it and says how it ended.
//
// While the service is gone, it is looked for several times a second. When it is back, all taps are made in the order
// of tapping, and connections between two systems that the client knew are compared with those that exist. Once a
// second, up to 100 taps of ports that did not exist are tried again, in turn, until all exist.
class Attachment {
 public:
  // An action must end before `until`.
  //
  // Connect and say hello; ends with connected or unanswered.
  struct Connect {
    device::Time until;
  };
  // Send this request; ends with tapped or unanswered.
  struct MakeTap {
    wire::Tap request;
    device::Time until;
  };
  // Ask for the device's ports, then for its connections; ends with answered or unanswered.
  struct AskLinks {
    device::Time until;
  };
  // There is nothing to do before this time, unless something happens.
  struct Wait {
    device::Time until;
  };
  using Action = std::variant<Connect, MakeTap, AskLinks, Wait>;

  static constexpr device::Time Never{std::numeric_limits<device::Time::rep>::max()};

  // mayReturn: the service may end and come back (see Connector). Otherwise lost does nothing.
  explicit Attachment(bool mayReturn) : mayReturn_(mayReturn) {}

  // Returns what to do now. Until it has ended, or the service is silent, next returns it again, perhaps with a later
  // `until`.
  Action next(device::Time now);

  // A line for the user, once; nullopt if there is none. Ask after each call that may change something.
  std::optional<std::string> takeLine();

  void connected(std::uint64_t session);
  void tapped(device::Status status);
  void answered(const wire::Links& links, const wire::Topology& topology, device::Time now);

  // The action did not end in time, or failed. If the client is not attached, close the connection. If the connection
  // itself has closed, call lost as well.
  void unanswered(device::Time now);

  // The connection has closed, or the service has forgotten the client. fault: what the service did wrong, if this
  // client has closed the connection because of it. Such a service is not looked for for ten seconds: it would do the
  // same again.
  void lost(device::Time now, const std::optional<std::string>& fault = {});

  // A request of the client had no answer in time. The service is silent for a second: it would hold up each caller.
  void missedDeadline(device::Time now) { silentUntil_ = now + SilenceTime; }

  // The client leaves. There is nothing to do from then on.
  void close() { state_ = State::Closed; }

  // True once the service has been greeted and all taps are made, as far as their ports exist.
  bool isAttached() const { return state_ == State::Attached; }
  bool isClosed() const { return state_ == State::Closed; }
  bool isSilent(device::Time now) const { return now < silentUntil_; }
  // When the last silence ends, or ended.
  device::Time silentUntil() const { return silentUntil_; }

  // The service's number of the session that connected has given last.
  std::uint64_t session() const { return session_; }

  // The taps that the client wants. Add a tap once it is made; it is made again after a loss.
  TapList& taps() { return taps_; }

  // What to compare with the connections of a service that is back. Call before lost.
  void remember(const LinkMirror& mirror, const wire::Topology& topology) { carried_.keep(mirror, topology); }

  // Timeout for an action; short, because requests wait meanwhile.
  static constexpr std::chrono::milliseconds ActionTime{500};

  // Timeout for each tap of a client that attaches: the service may wait for another system that long, and then
  // refuses. A shorter one would let the client give up, and attach again, until that system answers. The round of an
  // attached client that tries missing taps ends earlier: a tap that is made after that is found made in a later round.
  static constexpr std::chrono::milliseconds TapTime{2000};

 private:
  enum class State : std::uint8_t { Gone, Attaching, Attached, Closed };

  static constexpr std::chrono::milliseconds SilenceTime{1000};

  // The wanted tap that the round has reached; null at its end.
  TapList::Entry* reached();
  MakeTap request(const TapList::Entry& tap, device::Time now) const;
  void startRound(device::Time now);
  void endRound();
  void finishAttaching(device::Time now);
  Action nextWhenAttached(device::Time now);
  void say(std::string line) { lines_.push_back(std::move(line)); }

  bool mayReturn_;
  State state_ = State::Gone;
  std::uint64_t session_ = 0;
  TapList taps_;
  CarriedLinks carried_;
  std::deque<std::string> lines_;
  std::optional<TapRound> round_;
  bool wasLost_ = false;
  bool tapsAreMissing_ = false;
  std::uint64_t nextMissing_ = 0;  // the order of the tap to try next if it is missing
  device::Time nextLook_{0};       // while the service is gone
  device::Time silentUntil_{0};
  device::Time nextRound_{0};
  device::Time nextLinksLook_{0};
};

}  // namespace channel

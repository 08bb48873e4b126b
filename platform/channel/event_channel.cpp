#include "platform/channel/event_channel.h"

#include <chrono>
#include <string>
#include <utility>
#include <variant>

#include "platform/channel/opening.h"
#include "platform/system/program_line.h"
#include "platform/wire/loss_text.h"
#include "platform/wire/messages.h"

namespace channel {
namespace {

// The service waits for Consumed only after many more bytes (wire::MinEventWindow).
constexpr std::uint64_t TellAfter = wire::MinEventWindow / 4;

std::string messagesText(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " message" : " messages");
}

void reportLoss(std::uint64_t count) { sys::sayLine(messagesText(count) + " lost: this program reads too slowly"); }

void reportLossBefore(std::uint64_t count) { sys::sayLine(messagesText(count) + " lost before reaching the service"); }

void reportUncountedLosses(std::uint64_t times) { sys::sayLine(wire::uncountedLossText(times)); }

// Sets a flag during its lifetime and clears it also when an exception passes.
class WhileTrue {
 public:
  explicit WhileTrue(bool& flag) : flag_(flag) { flag_ = true; }
  WhileTrue(const WhileTrue&) = delete;
  WhileTrue& operator=(const WhileTrue&) = delete;
  ~WhileTrue() { flag_ = false; }

 private:
  bool& flag_;
};

}  // namespace

EventChannel::EventChannel(const Connector& connector, const wire::Welcome& welcome, const Deadline& deadline)
    : connection_(connector.connect(deadline)), welcome_(welcome), uncounted_(reportUncountedLosses) {}

bool EventChannel::open(const Deadline& deadline) {
  return askToOpen(connection_, wire::OpenEvents{welcome_.session, welcome_.token}) &&
         waitForOpening(connection_, deadline) == Opening::Opened;
}

bool EventChannel::receive(const TakeEvent& take, const Deadline& deadline) {
  // The current entries belong to the outer call.
  if (dispatching_) return false;
  uncounted_.advance(clockNow());
  if (!entries_ && connection_.wait(deadline) != Connection::Wait::Ready) return false;
  bool delivered = false;
  if (report_) pass(take, *std::exchange(report_, std::nullopt));
  while (nextEntries()) {
    const auto entry = entries_->next();
    if (!entry) {
      entriesDone();
    } else if (delivered && (entry->lost > 0 || entry->lostBefore)) {
      // The caller shows what came before first.
      report_ = *entry;
      break;
    } else if (pass(take, *entry)) {
      delivered = true;
      // Checked only after a delivery: an entry without one costs next to nothing and must not use up a short timeout.
      if (deadline.passed()) break;
    }
  }
  return delivered;
}

bool EventChannel::nextEntries() {
  while (!entries_) {
    const auto message = connection_.receiveRest();
    if (!message) return false;
    const auto envelope = wire::decode(*message);
    if (!envelope) continue;
    if (std::holds_alternative<wire::TopologyChanged>(envelope->body)) topologyChanged_ = true;
    const auto* events = std::get_if<wire::Events>(&envelope->body);
    if (events == nullptr) continue;
    entries_.emplace(events->entries);
    entryBytes_ = events->entries.size();
  }
  return true;
}

bool EventChannel::pass(const TakeEvent& take, const wire::EventEntry& entry) {
  if (entry.lost > 0) {
    reportLoss(entry.lost);
    return false;
  }
  if (entry.lostBefore == 0) {
    uncounted_.add();
    uncounted_.advance(clockNow());
    return false;
  }
  if (entry.lostBefore) {
    reportLossBefore(*entry.lostBefore);
    return false;
  }
  const WhileTrue dispatching(dispatching_);
  return take(entry.eventPort, entry.port, entry.event);
}

void EventChannel::entriesDone() {
  entries_.reset();
  consumed_ += entryBytes_;
  if (consumed_ - consumedTold_ < TellAfter) return;
  consumedTold_ = consumed_;
  connection_.send(0, wire::Consumed{welcome_.session, consumed_});
}

}  // namespace channel

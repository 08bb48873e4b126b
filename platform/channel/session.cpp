#include "platform/channel/session.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <mutex>
#include <utility>
#include <variant>

#include "platform/channel/address.h"
#include "platform/channel/server_trust.h"
#include "platform/system/program_line.h"

namespace channel {
namespace {

constexpr std::chrono::milliseconds LongestSleep{200};  // while the service is gone

// Time to deliver the events that arrived before the service was lost. Ends earlier if the channel is closed.
constexpr std::chrono::milliseconds RestTime{100};

// How often the receiving thread reads changes of the graph, and the counts of messages that could not be sent. The
// report about connections that a service has lost may be this old.
constexpr std::chrono::milliseconds FollowInterval{200};

}  // namespace

Session::Session(Connector connector, std::string address)
    : connector_(std::move(connector)),
      address_(std::move(address)),
      attachment_(connector_.mayReturn()),
      graph_(connector_) {}

Session::~Session() { close(); }

std::optional<std::string> Session::open() {
  const Deadline deadline(AnswerTime);
  wire::Welcome welcome;
  try {
    {
      const std::lock_guard guard(mutex_);
      control_.emplace(connector_, deadline);
      if (!control_->greet(deadline)) return control_->fault().value_or(control_->whyNotGreeted());
      welcome = control_->welcome();
      attachment_.connected(welcome.session);
      work();
      isBack_ = false;
    }
    events_.emplace(connector_, welcome, deadline);
    if (events_->open(deadline)) return std::nullopt;
    // Within the same deadline, so that open blocks no longer.
    close(deadline);
    return "cannot open the event connection to the service";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

void Session::close(const Deadline& deadline) {
  const std::lock_guard guard(mutex_);
  attachment_.close();
  takeBackLate();
  if (control_ && control_->session() != 0) {
    const wire::Goodbye goodbye{control_->session()};
    if (isSilent() && control_->allHandedOver()) {
      control_->tell(goodbye);
    } else {
      control_->ask<wire::Result>(goodbye, deadline);
    }
  }
  tellLastUnsendable();
  graph_.close();
  control_.reset();
  events_.reset();
  number_ = 0;
}

bool Session::attached() {
  if (attachment_.isClosed()) return false;
  if (!control_) work();
  return control_.has_value();
}

void Session::work() {
  bool waits = false;
  do {
    const auto action = attachment_.next(clockNow());
    waits = std::holds_alternative<Attachment::Wait>(action);
    if (attachment_.isAttached() && number_ == 0) {
      number_ = attachment_.session();
      isBack_ = true;
    }
    tellLines();
    try {
      std::visit([this](const auto& each) { perform(each); }, action);
    } catch (const std::exception&) {
      // The system gives no socket or no memory; perhaps next time.
      if (attachment_.isAttached()) throw;
      giveUp();
    }
    // The next call looks for a service that is lost here.
  } while (control_ && !waits);
}

void Session::perform(const Attachment::Connect& action) {
  if (connector_.whyUnreachable() != 0) return giveUp();
  const Deadline deadline = Deadline::at(action.until);
  try {
    control_.emplace(connector_, deadline);
  } catch (const UntrustedServer& refused) {
    if (!std::exchange(toldDistrust_, true)) sys::sayLine(addressLine(address_, refused.what()));
    return giveUp();
  }
  if (!control_->greet(deadline)) return giveUp();
  toldDistrust_ = false;
  attachment_.connected(control_->session());
}

void Session::perform(const Attachment::MakeTap& action) {
  const auto result = control_->ask<wire::Result>(action.request, Deadline::at(action.until));
  if (!result) return giveUp();
  attachment_.tapped(result->status);
}

void Session::perform(const Attachment::AskLinks& action) {
  const auto topology = askTopology(Deadline::at(action.until));
  const auto links = topology
                         ? control_->ask<wire::Links>(wire::AskLinks{control_->session()}, Deadline::at(action.until))
                         : std::nullopt;
  if (!links) return giveUp();
  attachment_.answered(*links, *topology, clockNow());
}

void Session::perform(const Attachment::Wait& action) { nextWork_ = action.until; }

void Session::giveUp() {
  const bool isAttached = attachment_.isAttached();
  attachment_.unanswered(clockNow());
  if (isAttached) {
    if (control_->lost()) lose();
  } else {
    control_.reset();
  }
}

void Session::lose(std::optional<std::string> fault) {
  if (!connector_.mayReturn()) return;
  if (!fault && control_) fault = control_->fault();
  if (graph_.isKnown()) attachment_.remember(graph_.links(), topology_);
  graph_.forget();
  graph_.close();
  tellLastUnsendable();
  control_.reset();
  number_ = 0;
  attachment_.lost(clockNow(), fault);
  tellLines();
}

void Session::noticeLoss(const Deadline& deadline) {
  if (!control_) return;
  if (control_->lost()) return lose();
  if (deadline.passed()) attachment_.missedDeadline(clockNow());
}

bool Session::isSilent() const { return attachment_.isSilent(clockNow()); }

void Session::tellSilence() {
  if (!control_ || !isSilent() || toldSilence_ == attachment_.silentUntil()) return;
  toldSilence_ = attachment_.silentUntil();
  sys::sayLine(addressLine(address_, "the service does not answer"));
}

void Session::tellLines() {
  while (const auto line = attachment_.takeLine()) sys::sayLine(addressLine(address_, *line));
}

void Session::tellUnsendable() {
  unsendable_.counted(control_->unsendable());
  if (!unsendable_.hasNews()) return;
  if (const auto line = unsendable_.line(clockNow())) sys::sayLine(*line);
}

void Session::tellLastUnsendable() {
  if (!control_) return;
  control_->look();
  unsendable_.counted(control_->unsendable());
  unsendable_.sessionEnded();
  if (const auto line = unsendable_.lastLine(clockNow())) sys::sayLine(*line);
}

bool Session::receive(const TakeEvent& take, const Deadline& deadline) {
  if (events_ && events_->dispatching()) return false;
  const std::uint64_t number = number_;
  if (events_ && events_->session() != number) {
    // Events that arrived before the service was lost are still delivered.
    if (events_->receive(take, Deadline(RestTime))) return true;
    events_.reset();
  }
  if (number == 0) {
    waitForService(deadline);
    return false;
  }
  workIfDue();
  lookForArrivals();
  follow();
  if (!events_ && !openEvents(number)) return false;
  if (events_->receive(take, deadline)) return true;
  if (events_->lost()) {
    {
      const std::lock_guard guard(mutex_);
      if (number_ == number) lose(events_->fault());
    }
    // The service of this process has stopped for good.
    if (number_ == number) poll(nullptr, 0, static_cast<int>(deadline.left().count()));
  }
  return false;
}

bool Session::openEvents(std::uint64_t session) {
  wire::Welcome welcome;
  {
    const std::lock_guard guard(mutex_);
    // The service may have gone again.
    if (!control_ || control_->session() != session) return false;
    welcome = control_->welcome();
  }
  try {
    const Deadline deadline(Attachment::ActionTime);
    events_.emplace(connector_, welcome, deadline);
    if (events_->open(deadline)) return true;
  } catch (const std::exception&) {
    // The system gives no socket; perhaps next time.
  }
  events_.reset();
  const std::lock_guard guard(mutex_);
  if (number_ == session) lose();
  return false;
}

void Session::waitForService(const Deadline& deadline) {
  {
    const std::lock_guard guard(mutex_);
    if (attached()) return;
  }
  poll(nullptr, 0, static_cast<int>(std::min(deadline.left(), LongestSleep).count()));
}

void Session::workIfDue() {
  if (clockNow() < nextWork_.load()) return;
  // Received events must not wait for a request of another thread.
  const std::unique_lock guard(mutex_, std::try_to_lock);
  if (guard && control_) work();
}

void Session::lookForArrivals() {
  const device::Time now = clockNow();
  if (isBack_.exchange(false) || (events_ && events_->takeTopologyNews())) arrivalTimer_.news(now);
  if (!arrivalTimer_.isDue(now)) return;
  // Received events must not wait for a request of another thread.
  const std::unique_lock guard(mutex_, std::try_to_lock);
  if (!guard || !control_ || isSilent()) return;
  // Without a console nobody needs the news. As we do not ask, the service sends no more.
  if (!arrivals_.isListed()) return arrivalTimer_.drop();
  auto topology = askTopology(Deadline(Attachment::ActionTime));
  arrivalTimer_.asked(topology.has_value(), clockNow());
  if (!topology) {
    // Does not count as silent: other requests have a longer timeout.
    if (control_->lost()) lose();
    return;
  }
  keepTopology(std::move(*topology));
  if (const auto line = arrivals_.look(topology_)) sys::sayLine(addressLine(address_, *line));
}

void Session::follow() {
  const device::Time now = clockNow();
  if (now < nextFollow_) return;
  const std::unique_lock guard(mutex_, std::try_to_lock);
  if (!guard) return;
  nextFollow_ = now + FollowInterval;
  graph_.follow();
  if (control_) {
    control_->look();
    tellUnsendable();
  }
  takeBackLate();
}

}  // namespace channel

#include "platform/drivers/alsa/driver.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <set>
#include <utility>

#include "platform/drivers/alsa/changes.h"
#include "platform/drivers/alsa/graph.h"
#include "platform/drivers/alsa/input.h"
#include "platform/drivers/alsa/sink_feeds.h"
#include "platform/drivers/alsa/source_taps.h"
#include "platform/drivers/foreign/client_log.h"
#include "platform/drivers/foreign/port_book.h"
#include "platform/system/descriptor_set.h"

namespace drivers {
namespace alsa {
namespace {

// More than a second of events from a fast machine that floods us.
constexpr std::size_t MostBytesOfQueue = 32U << 20U;

constexpr int MostEventsInOnePiece = 1'000;

class AlsaDriver : public device::Driver {
 public:
  AlsaDriver() : control_("flowscope"), input_(MostBytesOfQueue), feeds_(control_), taps_(input_, book_) {
    ready_.add(control_.descriptor());
    ready_.add(input_.descriptor());
    // Before the first read, so that no change in between is missed.
    listenToAnnouncements(control_);
    const Graph graph = readGraph(control_);
    book_.update(graph.clients);
    clientLog_.update(graph.clients);
  }

  const device::Topology& topology() const override { return book_.topology(); }

  device::Started start(device::DriverEvents& events, device::Time now) override {
    events_ = &events;
    readAll(now);
    return {.links = {}, .descriptor = ready_.descriptor()};
  }

  void deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    if (const auto key = book_.key(sink)) feeds_.send(addressOf(*key), message, now);
  }

  void setUsed(device::PortId source, bool used, device::Time /*now*/) override {
    taps_.setUsed(source, used, *events_);
  }

  std::optional<device::Time> advance(device::Time now) override;
  std::optional<device::Status> patch(bool made, const device::Link& link, device::Time now) override;
  bool behind() const override { return feeds_.behind(); }
  void finish(device::Time /*now*/) override { feeds_.finish(*events_); }

 private:
  std::optional<device::Link> linkOf(const Subscription& subscription) const;
  void readAll(device::Time now);
  void readOne(const Subscription& subscription, device::Time now);
  bool takeEvents(device::Time now);

  Client control_;  // queries, connects, sends, and receives announcements
  Input input_;
  PortBook book_;
  ClientLog clientLog_;
  SinkFeeds feeds_;
  SourceTaps taps_;
  sys::DescriptorSet ready_;
  device::DriverEvents* events_ = nullptr;
  std::set<device::Link> links_;  // as reported
  Changes changes_;               // announced, not handled yet
  Changes due_;                   // handled once batch_ is processed
  std::vector<QueuedEvent> batch_;
  std::size_t taken_ = 0;  // events of batch_ that are processed
};

std::optional<device::Link> AlsaDriver::linkOf(const Subscription& subscription) const {
  return book_.link(keyOf(subscription.sender), keyOf(subscription.receiver));
}

// Reports the difference between what exists now and what has been reported.
void AlsaDriver::readAll(device::Time now) {
  const Graph graph = readGraph(control_);
  if (book_.update(graph.clients)) events_->topologyChanged(now);
  for (const std::string& line : clientLog_.update(graph.clients)) events_->noted(line);
  feeds_.setReceivers(graph.receivers, now);
  std::set<device::Link> standing;
  for (const Subscription& subscription : graph.subscriptions) {
    if (const auto link = linkOf(subscription)) standing.insert(*link);
  }
  const std::set<device::Link> told = std::exchange(links_, standing);
  for (const device::Link& link : told) {
    // Connections of removed ports ended with the ports.
    const bool exist = topology().exists(link.source()) && topology().exists(link.sink());
    if (!standing.contains(link) && exist) events_->unlinked(link, now);
  }
  for (const device::Link& link : standing) {
    if (!told.contains(link)) events_->linked(link, now);
  }
  taps_.refresh(*events_);
}

void AlsaDriver::readOne(const Subscription& subscription, device::Time now) {
  const auto link = linkOf(subscription);
  if (!link) return;
  if (control_.stands(subscription)) {
    if (links_.insert(*link).second) events_->linked(*link, now);
  } else if (links_.erase(*link) != 0) {
    events_->unlinked(*link, now);
  }
}

std::optional<device::Time> AlsaDriver::advance(device::Time now) {
  readAnnouncements(control_, changes_);
  const bool begun = taken_ < batch_.size();
  // Reports what a source emitted before reporting that it was removed.
  if (!begun && changes_.any()) input_.catchUp();
  const bool changed = !begun && changes_.any();
  if (!begun) {
    batch_ = input_.take();
    taken_ = 0;
    due_ = changed ? std::exchange(changes_, {}) : Changes{};
  }
  const bool more = takeEvents(now);
  if (!more && due_.any()) {
    const Changes due = std::exchange(due_, {});
    if (due.ports) {
      readAll(now);
    } else {
      for (const Subscription& subscription : due.subscriptions) readOne(subscription, now);
      taps_.refresh(*events_);
    }
  }
  const auto next = feeds_.advance(*events_, now);
  return more || changes_.any() ? std::optional(now) : next;
}

// Returns true if some of the batch is left.
bool AlsaDriver::takeEvents(device::Time now) {
  const std::size_t end = std::min(batch_.size(), taken_ + MostEventsInOnePiece);
  for (; taken_ < end; ++taken_) taps_.take(batch_[taken_], *events_, now);
  return taken_ < batch_.size();
}

std::optional<device::Status> AlsaDriver::patch(bool made, const device::Link& link, device::Time now) {
  const auto source = book_.key(link.source());
  const auto sink = book_.key(link.sink());
  if (!source || !sink) return device::Status::NotFound;
  const Subscription subscription{addressOf(*source), addressOf(*sink)};
  const int code = made ? control_.subscribe(subscription) : control_.unsubscribe(subscription);
  const bool stood = links_.contains(link);
  readOne(subscription, now);
  if (made) {
    if (links_.contains(link)) return device::Status::Ok;
    events_->noted("cannot connect \"" + topology().name(link.source()) + "\" to \"" + topology().name(link.sink()) +
                   "\": " + errorText(code));
    return device::Status::Refused;
  }
  if (links_.contains(link)) return device::Status::Refused;
  return code >= 0 || stood ? device::Status::Ok : device::Status::NotFound;
}

// The library would write to standard error, which belongs to the program.
void sayNothing(const char* /*file*/, int /*line*/, const char* /*function*/, int /*code*/, const char* /*format*/,
                ...) {}

}  // namespace
}  // namespace alsa

std::variant<std::unique_ptr<device::Driver>, std::string> openAlsa() {
  snd_lib_error_set_handler(alsa::sayNothing);
  try {
    return std::make_unique<alsa::AlsaDriver>();
  } catch (const std::exception& problem) {
    return std::string(problem.what());
  }
}

}  // namespace drivers

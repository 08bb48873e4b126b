#include "platform/drivers/alsa/driver.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/drivers/alsa/changes.h"
#include "platform/drivers/alsa/graph_reports.h"
#include "platform/drivers/alsa/input.h"
#include "platform/drivers/alsa/sink_feeds.h"
#include "platform/drivers/alsa/source_taps.h"
#include "platform/system/descriptor_set.h"

namespace drivers {
namespace alsa {
namespace {

// More than a second of events from a fast machine that floods us.
constexpr std::size_t MostBytesOfQueue = 32U << 20U;

constexpr int MostEventsInOnePiece = 1'000;

class AlsaDriver : public device::Driver {
 public:
  AlsaDriver()
      : control_("flowscope"),
        input_(MostBytesOfQueue),
        graph_(control_),
        feeds_(control_),
        taps_(input_, graph_.ports()) {
    ready_.add(control_.descriptor());
    ready_.add(input_.descriptor());
    // Before the first read, so that no change in between is missed.
    listenToAnnouncements(control_);
    graph_.begin();
  }

  const device::Topology& topology() const override { return graph_.ports().topology(); }

  device::Started start(device::DriverEvents& events, device::Time now) override {
    events_ = &events;
    readAll(now);
    return {.links = {}, .descriptor = ready_.descriptor()};
  }

  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    const auto key = graph_.ports().key(sink);
    return key ? feeds_.send(addressOf(*key), message, now) : device::Delivery::Taken;
  }

  std::optional<device::Status> setUsed(device::PortId source, bool used, device::Time /*now*/) override {
    return taps_.setUsed(source, used, *events_);
  }

  std::optional<device::Time> advance(device::Time now) override;
  bool patch(device::RequestId request, bool made, const device::Link& link, device::Time now) override;
  bool behind() const override { return feeds_.behind(); }
  void finish(device::Time /*now*/) override { feeds_.finish(*events_); }

 private:
  void readAll(device::Time now);
  bool takeEvents(device::Time now);

  Client control_;  // queries, connects, sends, and receives announcements
  Input input_;
  GraphReports graph_;
  SinkFeeds feeds_;
  SourceTaps taps_;
  sys::DescriptorSet ready_;
  device::DriverEvents* events_ = nullptr;
  Changes changes_;  // announced, not handled yet
  Changes due_;      // handled once batch_ is processed
  std::vector<QueuedEvent> batch_;
  std::size_t taken_ = 0;  // events of batch_ that are processed
};

void AlsaDriver::readAll(device::Time now) {
  feeds_.setReceivers(graph_.readAll(*events_, now), now);
  taps_.refresh(*events_, now);
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
      for (const Subscription& subscription : due.subscriptions) graph_.readLink(subscription, *events_, now);
      taps_.refresh(*events_, now);
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

// The kernel answers at once.
bool AlsaDriver::patch(device::RequestId request, bool made, const device::Link& link, device::Time now) {
  events_->patched(request, graph_.patch(made, link, *events_, now), now);
  return true;
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

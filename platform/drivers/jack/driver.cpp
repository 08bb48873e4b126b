#include "platform/drivers/jack/driver.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <utility>

#include "platform/drivers/foreign/burst_log.h"
#include "platform/drivers/foreign/sendable.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/client_opener.h"
#include "platform/drivers/jack/graph_reports.h"
#include "platform/drivers/jack/sink_feeds.h"
#include "platform/drivers/jack/source_taps.h"
#include "platform/system/earliest.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;

constexpr auto PatienceAtTheStart = 5s;
// On a busy machine periods are skipped all the time.
constexpr device::Time BetweenSkipLines = 10s;
// Bytes of events in one call; about four thousand short events.
constexpr std::size_t PieceBytes = std::size_t{64} * 1024;
constexpr std::size_t ManyWaitingBytes = std::size_t{256} * 1024;

class JackDriver : public device::Driver {
 public:
  JackDriver(std::shared_ptr<sys::EventDescriptor> wakeup, std::unique_ptr<ClientOpener> opener)
      : wakeup_(std::move(wakeup)), opener_(std::move(opener)) {}

  ~JackDriver() override {
    if (!client_) return;
    feeds_.finish(*client_);
    opener_->close(std::move(client_));
  }

  // Call before start. Takes over an open client.
  void adopt(std::unique_ptr<Client> client) {
    client_ = std::move(client);
    graph_.begin(*client_);
  }

  // Call before start if there is no client. cause: why.
  void startWithout(std::string cause) { noClient_ = std::move(cause); }

  const device::Topology& topology() const override { return graph_.ports().topology(); }
  bool behind() const override { return feeds_.waitingBytes() > ManyWaitingBytes; }

  device::Started start(device::DriverEvents& events, device::Time now) override;
  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override;
  void setUsed(device::PortId source, bool used, device::Time now) override;
  std::optional<device::Time> advance(device::Time now) override;
  std::optional<device::Status> patch(bool made, const device::Link& link, device::Time now) override;
  void finish(device::Time now) override;

 private:
  void outliveServers();
  bool countSkipped(device::Time now);
  void lookForClient(device::Time now);
  void clientGone(device::Time now);

  std::shared_ptr<sys::EventDescriptor> wakeup_;
  std::unique_ptr<ClientOpener> opener_;
  std::unique_ptr<Client> client_;  // null while no server runs
  std::string noClient_;            // why there was none at the start
  device::DriverEvents* events_ = nullptr;
  GraphReports graph_;
  SourceTaps taps_;
  BurstLog bursts_;
  SinkFeeds feeds_{bursts_};
  bool wasThere_ = false;  // a server has run before
  bool outlives_ = false;
};

device::Started JackDriver::start(device::DriverEvents& events, device::Time now) {
  events_ = &events;
  wasThere_ = client_ != nullptr;
  if (wasThere_) {
    graph_.readLinks(*client_, *events_, now);
  } else {
    events_->warned(noClient_ + "; trying again");
  }
  return {.links = {}, .descriptor = wakeup_->descriptor()};
}

device::Delivery JackDriver::deliver(device::PortId sink, const device::Message& message, device::Time now) {
  auto delivery = device::Delivery::Taken;
  std::vector<std::uint8_t> bytes;
  if (const auto why = appendSendable(message, bytes)) {
    bursts_.addUnsent(1, graph_.ports().text(sink), *why, now);
    delivery = device::Delivery::Unsendable;
  } else if (!client_) {
    bursts_.addUnsent(1, graph_.ports().text(sink), unsent::PortHasGone, now);
  } else if (!feeds_.send(*client_, graph_.ports(), sink, bytes, now)) {
    return delivery;
  }
  // advance may be due sooner than it last returned: something waits, or is to be logged.
  wakeup_->wake();
  return delivery;
}

void JackDriver::setUsed(device::PortId source, bool used, device::Time /*now*/) {
  taps_.setUsed(client_.get(), graph_.ports(), source, used);
}

// A request to a dying server must not end the process. The service's thread blocks SIGPIPE, because the thread that
// starts the driver belongs to the program.
void JackDriver::outliveServers() {
  if (std::exchange(outlives_, true)) return;
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
}

std::optional<device::Time> JackDriver::advance(device::Time now) {
  outliveServers();
  wakeup_->clear();
  lookForClient(now);
  std::optional<device::Time> next;
  if (client_) {
    // Reports what a client sent before reporting that it disconnected.
    const bool more = taps_.take(*client_, *events_, now, PieceBytes);
    if (countSkipped(now)) taps_.skipped();
    if (!graph_.readChanges(*client_, *events_, now)) {
      clientGone(now);
    } else if (more) {
      next = now;
    } else if (graph_.tapsDue() && *graph_.tapsDue() <= now) {
      graph_.tapsRestored();
      if (const auto line = taps_.restore(*client_, graph_.ports())) events_->noted(*line);
    }
  }
  sys::keepEarlier(next, taps_.tellSkipped(*events_, now));
  if (client_) sys::keepEarlier(next, feeds_.pump(*client_, graph_.ports(), now));
  sys::keepEarlier(next, bursts_.advance(now, [&](std::string_view line) { events_->noted(line); }));
  sys::keepEarlier(next, graph_.tapsDue());
  return next;
}

std::optional<device::Status> JackDriver::patch(bool made, const device::Link& link, device::Time now) {
  return client_ ? graph_.patch(*client_, made, link, *events_, now) : device::Status::NotFound;
}

void JackDriver::finish(device::Time now) {
  countSkipped(now);
  bursts_.finish([&](std::string_view line) { events_->noted(line); });
}

// Returns true if there were any.
bool JackDriver::countSkipped(device::Time now) {
  const auto skipped = client_ ? client_->takeSkipped() : 0;
  if (skipped > 0)
    bursts_.add(skipped, "period", "skipped because this program or the JACK server was late; messages may be lost",
                now, BetweenSkipLines);
  return skipped > 0;
}

void JackDriver::lookForClient(device::Time now) {
  auto opened = opener_->result();
  if (!opened) return;
  if (auto* client = std::get_if<std::unique_ptr<Client>>(&*opened)) {
    client_ = std::move(*client);
    events_->warned(wasThere_ ? "connected to the JACK server again" : "connected to the JACK server");
    wasThere_ = true;
    graph_.readPorts(*client_, *events_, now);
    graph_.readLinks(*client_, *events_, now);
  } else {
    // The first try failed after openJack had stopped waiting for it.
    opener_->open(true);
  }
}

void JackDriver::clientGone(device::Time now) {
  while (taps_.take(*client_, *events_, now, PieceBytes)) {
  }
  taps_.clientGone(*events_, now);
  feeds_.clientGone(*client_, now);
  opener_->close(std::move(client_));
  opener_->open(true);
  events_->warned("connection to the JACK server lost");
  graph_.clientGone(*events_, now);
}

}  // namespace
}  // namespace drivers::jack

namespace drivers {

std::variant<std::unique_ptr<device::Driver>, std::string> openJack(Absent absent) {
  auto wakeup = std::make_shared<sys::EventDescriptor>();
  auto opener = std::make_unique<jack::ClientOpener>(wakeup);
  opener->open(false);
  auto opened = opener->result(jack::PatienceAtTheStart);
  const std::string* problem = opened ? std::get_if<std::string>(&*opened) : nullptr;
  const std::string cause = problem != nullptr ? *problem : "the JACK server does not answer";
  const bool isOpen = opened && problem == nullptr;
  if (absent == Absent::Fails && !isOpen) return cause;
  if (problem != nullptr) opener->open(true);
  auto driver = std::make_unique<jack::JackDriver>(std::move(wakeup), std::move(opener));
  if (isOpen) {
    driver->adopt(std::get<0>(std::move(*opened)));
  } else {
    driver->startWithout(cause);
  }
  return driver;
}

}  // namespace drivers

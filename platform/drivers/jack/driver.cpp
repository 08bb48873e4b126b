#include "platform/drivers/jack/driver.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "platform/drivers/foreign/burst_log.h"
#include "platform/drivers/foreign/sendable.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/graph_reports.h"
#include "platform/drivers/jack/link_reading.h"
#include "platform/drivers/jack/patches.h"
#include "platform/drivers/jack/server_thread.h"
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
// After so long without a period, nothing moves for long.
constexpr device::Time HaltedAfter = 1s;
// A request that runs so long is not only one of many that wait.
constexpr device::Time SilentAfter = 1s;

class JackDriver : public device::Driver {
 public:
  JackDriver(std::shared_ptr<sys::EventDescriptor> wakeup, std::unique_ptr<ServerThread> server)
      : wakeup_(std::move(wakeup)), server_(std::move(server)) {}

  ~JackDriver() override {
    if (!client_) return;
    feeds_.finish(*client_);
    server_->close(std::move(client_));
  }

  // Call before start. Takes over an open client.
  void adopt(std::unique_ptr<Client> client) {
    client_ = std::move(client);
    graph_.begin(*client_);
  }

  // Call before start if there is no client. cause: why.
  void startWithout(std::string cause) { noClient_ = std::move(cause); }

  const device::Topology& topology() const override { return graph_.ports().topology(); }
  // While the server is halted, senders to other devices must not wait for it.
  bool behind() const override { return !halted_ && feeds_.waitingBytes() > ManyWaitingBytes; }

  device::Started start(device::DriverEvents& events, device::Time now) override;
  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override;
  std::optional<device::Status> setUsed(device::PortId source, bool used, device::Time now) override;
  std::optional<device::Time> advance(device::Time now) override;
  bool patch(device::RequestId request, bool made, const device::Link& link, device::Time now) override;
  void finish(device::Time now) override;

 private:
  void watchPeriods(device::Time now);
  void noteSilence(device::Time now);
  bool countSkipped(device::Time now);
  void lookForClient(device::Time now);
  void clientGone(device::Time now);

  std::shared_ptr<sys::EventDescriptor> wakeup_;
  std::unique_ptr<ServerThread> server_;
  std::unique_ptr<Client> client_;  // null while no server runs
  std::string noClient_;            // why there was none at the start
  device::DriverEvents* events_ = nullptr;
  LinkReading links_{*server_};
  GraphReports graph_{links_};
  Patches patches_{*server_, links_};
  SourceTaps taps_{*server_};
  BurstLog bursts_;
  SinkFeeds feeds_{*server_, bursts_};
  bool wasThere_ = false;  // a server has run before
  bool halted_ = false;    // the server runs no periods
  bool ended_ = false;     // the server has ended; what it has brought is still being taken
  std::uint64_t periods_ = 0;
  device::Time lastPeriod_{};            // when periods_ last grew
  std::optional<std::uint64_t> silent_;  // requests done when one took too long; the server has not answered since
};

device::Started JackDriver::start(device::DriverEvents& events, device::Time now) {
  events_ = &events;
  lastPeriod_ = now;
  wasThere_ = client_ != nullptr;
  if (wasThere_) {
    graph_.tellLinks(*events_, now);
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

std::optional<device::Status> JackDriver::setUsed(device::PortId source, bool used, device::Time now) {
  return taps_.setUsed(client_.get(), graph_.ports(), source, used, silent_.has_value(), now);
}

std::optional<device::Time> JackDriver::advance(device::Time now) {
  wakeup_->clear();
  lookForClient(now);
  watchPeriods(now);
  std::optional<device::Time> next;
  if (client_) {
    // Reports what a client sent before reporting that it disconnected.
    const bool more = taps_.take(*client_, *events_, now, PieceBytes);
    graph_.tellLinks(*events_, now);
    if (countSkipped(now)) taps_.skipped();
    // What the server has brought before its end is taken in pieces, too.
    if (ended_ && !more) {
      clientGone(now);
    } else if (ended_ || !graph_.readChanges(*client_, patches_, *events_, now)) {
      ended_ = true;
      next = now;
    } else if (more) {
      next = now;
    } else if (graph_.tapsDue() && *graph_.tapsDue() <= now) {
      graph_.tapsRestored();
      taps_.restore(*client_, graph_.ports());
    }
  }
  if (client_) {
    sys::keepEarlier(next, patches_.advance(*events_, now));
    sys::keepEarlier(next, taps_.advance(*client_, *events_, now));
    noteSilence(now);
  }
  sys::keepEarlier(next, taps_.tellSkipped(*events_, now));
  if (client_) sys::keepEarlier(next, feeds_.pump(*client_, graph_.ports(), now));
  sys::keepEarlier(next, bursts_.advance(now, [&](std::string_view line) { events_->noted(line); }));
  sys::keepEarlier(next, graph_.tapsDue());
  return next;
}

bool JackDriver::patch(device::RequestId request, bool made, const device::Link& link, device::Time now) {
  const auto source = graph_.ports().name(link.source());
  const auto sink = graph_.ports().name(link.sink());
  if (silent_) {
    // Whoever makes many requests, one after the other, waits only for the first.
    events_->patched(request, device::Status::Refused, now);
  } else if (client_ && source && sink) {
    patches_.ask(*client_, request, made, link, {*source, *sink}, *events_, now);
  } else {
    events_->patched(request, device::Status::NotFound, now);
  }
  return true;
}

void JackDriver::finish(device::Time now) {
  countSkipped(now);
  bursts_.finish([&](std::string_view line) { events_->noted(line); });
}

void JackDriver::watchPeriods(device::Time now) {
  if (!client_) return;
  if (client_->periods() != periods_) {
    periods_ = client_->periods();
    lastPeriod_ = now;
  }
  halted_ = now - lastPeriod_ > HaltedAfter;
}

void JackDriver::noteSilence(device::Time now) {
  const bool patchesTooLong = patches_.takeTooLong();
  const bool tooLong = taps_.takeTooLong() || patchesTooLong;
  // First: a request that ends in between does not run any more.
  const std::uint64_t done = server_->doneCount();
  const auto runsSince = server_->runsSince();
  if (tooLong && !silent_ && runsSince && now - *runsSince > SilentAfter) {
    silent_ = done;
    events_->noted("the JACK server does not answer");
  } else if (silent_ && server_->doneCount() != *silent_) {
    silent_.reset();
    events_->noted("the JACK server answers again");
  }
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
  auto opened = server_->result();
  if (!opened) return;
  if (auto* client = std::get_if<std::unique_ptr<Client>>(&*opened)) {
    client_ = std::move(*client);
    lastPeriod_ = now;
    events_->warned(wasThere_ ? "connected to the JACK server again" : "connected to the JACK server");
    wasThere_ = true;
    graph_.readPorts(*client_, *events_, now);
    graph_.readLinks(*client_);
  } else {
    // The first try failed after openJack had stopped waiting for it.
    server_->open(true);
  }
}

void JackDriver::clientGone(device::Time now) {
  taps_.clientGone(*events_, now);
  feeds_.clientGone(*client_, now);
  patches_.clientGone(*events_, now);
  server_->close(std::move(client_));
  server_->open(true);
  halted_ = false;
  ended_ = false;
  silent_.reset();
  events_->warned("connection to the JACK server lost");
  graph_.clientGone(*events_, now);
}

}  // namespace
}  // namespace drivers::jack

namespace drivers {

std::variant<std::unique_ptr<device::Driver>, std::string> openJack(Absent absent) {
  auto wakeup = std::make_shared<sys::EventDescriptor>();
  auto server = std::make_unique<jack::ServerThread>(wakeup);
  server->open(false);
  auto opened = server->result(jack::PatienceAtTheStart);
  const std::string* problem = opened ? std::get_if<std::string>(&*opened) : nullptr;
  const std::string cause = problem != nullptr ? *problem : "the JACK server does not answer";
  const bool isOpen = opened && problem == nullptr;
  if (absent == Absent::Fails && !isOpen) return cause;
  if (problem != nullptr) server->open(true);
  auto driver = std::make_unique<jack::JackDriver>(std::move(wakeup), std::move(server));
  if (isOpen) {
    driver->adopt(std::get<0>(std::move(*opened)));
  } else {
    driver->startWithout(cause);
  }
  return driver;
}

}  // namespace drivers

// A client's connection to a service, as long as the client lives.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/channel/arrivals.h"
#include "platform/channel/attachment.h"
#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/channel/deadline.h"
#include "platform/channel/event_channel.h"
#include "platform/channel/fair_mutex.h"
#include "platform/channel/graph_mirror.h"
#include "platform/channel/refusal_report.h"
#include "platform/channel/unsendable_report.h"
#include "platform/device/port.h"
#include "platform/wire/messages.h"

namespace channel {

// One client of a service: its three channels, its taps and its mirror of the patch graph. It performs what its
// Attachment decides. Thread-safe, except for receive and close. A call that returns nullopt or false without another
// reason had no answer: the service is gone or did not answer within two seconds of the call, the system gives no
// socket, or the session is closed. After two seconds without an answer the service is not asked for one second; calls
// in that time return at once without an answer. If nobody answers a question about ports or connections, one line on
// standard error says so, at most once a second: an empty list alone would look like an answer.
//
// When a service that may come back is gone, the session writes one line to standard error. From then on every request
// and every receive looks for the service, several times a second. When it is back, the session attaches with all its
// taps and says so in one line, and says in another line which connections between two systems that this client knew
// were lost. If a service sends what it must not (see ControlChannel::fault), the session closes the connection, says
// so in one line instead, and does not look for the service for ten seconds. Attaching takes time in proportion to the
// taps, some ten thousand a second. The receiving thread retries taps of ports that did not exist then.
//
// Messages that another system has no form for cost a line on standard error, with their count: at most one a second,
// while a thread sends or receives, and one when the session or the service ends.
class Session {
 public:
  // address: the service's name on standard error. Does nothing before open.
  Session(Connector connector, std::string address);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // Attaches. Call it once, before all else. If no service answers, returns the cause as text. Blocks for at most two
  // seconds.
  std::optional<std::string> open();

  // The address given to the constructor.
  const std::string& address() const { return address_; }

  // Sends what is pending, sends Goodbye and closes all connections. No call has an answer afterwards. Must not run
  // during receive. Blocks until the deadline at most, after the requests of other threads are done; does not wait for
  // a service that is not asked because it was silent.
  void close(const Deadline& deadline = Deadline(AnswerTime));

  // Waits for events and passes them to take (see EventChannel::receive). Returns true if one was taken. Does nothing
  // while an event is taken. Does due work first, so that it may take longer than the deadline: half a second for each
  // answer of a service that is late, two for a tap while it attaches. One thread at a time.
  bool receive(const TakeEvent& take, const Deadline& deadline);

  // eventPort: a number that the client chooses; take gets it with each event.
  std::optional<device::Status> tap(std::uint32_t eventPort, const std::string& name, std::uint32_t holderBytes);
  std::optional<device::Status> untap(std::uint32_t eventPort, const std::string& name);
  std::optional<device::Status> untapAll(std::uint32_t eventPort);

  // Blocks only while the service is behind, also while it is stopped; fails at once while it is gone. bytes: not
  // empty, at most device::MaxMessageBytes. True does not mean that the message had a form in another system.
  bool send(std::uint32_t eventPort, std::uint16_t group, std::span<const std::uint8_t> bytes);

  // The service's number of this session; 0 while the service is gone. Another service gives another number, and may
  // have other ports at the same places.
  std::uint64_t number() const { return number_; }

  struct Device {
    std::uint64_t session = 0;  // the session whose device it is
    std::uint64_t version = 0;  // see deviceVersion
    wire::Topology topology;
  };
  std::optional<Device> device();

  // Changes after each answer of the service about its device that differs from the one before, whichever call of this
  // session asked. Does not block.
  std::uint64_t deviceVersion() const { return deviceVersion_; }

  // The last of these answers, without asking the service.
  Device lastDevice();

  // Says that a console lists the groups and ports of this topology. From now on, groups and ports that are added and
  // not listed cost one line on standard error, at most one a second, while a thread receives.
  void list(const wire::Topology& topology);

  // Returns the status once the mirror shows what the service did. Returns NoSession and does nothing if the session's
  // number is not the given one. After a call without an answer, the connection stays as it was: the service carries no
  // request out later. If it did so in time, but its answer came late, this is taken back as soon as the session reads
  // the answer, unless it has been asked for the same connection again: during receive, within 200 milliseconds, or
  // with the next patch. It is not taken back if the session ends before.
  std::optional<device::Status> patch(bool made, const device::Link& link, std::uint64_t number);

  // Copies the peers of a port from the up-to-date mirror; blocks only if the mirror has to be fetched anew. Returns
  // false, with an empty result, if there is no mirror or the session's number is not the given one.
  bool peersOf(device::PortId port, std::uint64_t number, std::vector<device::PortId>& result);

  // The version of the graph that the up-to-date mirror shows; nullopt where peersOf returns false.
  std::optional<std::uint64_t> graphVersion(std::uint64_t number);

 private:
  // All with mutex_ locked, up to the receiving thread's.

  // Returns whether the service is there, as far as is known; looks for it if it is gone.
  bool attached();
  // Performs what is due.
  void work();
  void perform(const Attachment::Connect& action);
  void perform(const Attachment::MakeTap& action);
  void perform(const Attachment::AskLinks& action);
  void perform(const Attachment::Wait& action);
  // The action had no answer.
  void giveUp();
  // The connection is lost. fault: why, if it was another channel than control that got what it must not (see
  // ControlChannel::fault).
  void lose(std::optional<std::string> fault = {});
  // Call after a request without an answer, in a call with this deadline.
  void noticeLoss(const Deadline& deadline);
  // Says on standard error, once, that the service is silent, if it is. For requests whose caller sees nothing else.
  void tellSilence();
  // True if the service missed a deadline a moment ago and is not queried.
  bool isSilent() const;
  void tellLines();
  void tellUnsendable();
  // For the last time in this session.
  void tellLastUnsendable();
  // Returns nullopt also for a topology that is not to be believed, which one line on standard error says.
  std::optional<wire::Topology> askTopology(const Deadline& deadline);
  void keepTopology(wire::Topology topology);
  std::optional<device::Status> request(const std::function<wire::Body(std::uint64_t session)>& message,
                                        const Deadline& deadline);
  bool lookAtGraph(const Deadline& deadline, std::uint64_t number);
  bool isCurrent(GraphMirror::Freshness freshness, const Deadline& deadline);
  // Takes back what the service did after this client had given up. Blocks only if the mirror has to be fetched anew.
  void takeBackLate();

  // For the receiving thread.
  bool openEvents(std::uint64_t session);
  void waitForService(const Deadline& deadline);
  void workIfDue();
  void lookForArrivals();
  void follow();

  Connector connector_;  // destroyed last
  std::string address_;
  FairMutex mutex_;
  Attachment attachment_;                  // guarded by mutex_, like all members up to arrivals_
  std::optional<ControlChannel> control_;  // empty while the service is gone, and after close
  UnsendableReport unsendable_;
  GraphMirror graph_;
  wire::Topology topology_;            // the last answer
  std::uint64_t topologySession_ = 0;  // the number of the session that gave it
  RefusalReport refusedTopologies_;
  device::Time toldSilence_{0};  // the end of the silence that was told last
  bool toldDistrust_ = false;    // a service that is not trusted has taken the place of the one that is gone
  Arrivals arrivals_;
  std::optional<EventChannel> events_;  // used by the receiving thread, like all members up to nextFollow_
  ArrivalTimer arrivalTimer_;
  device::Time nextFollow_{0};                             // when to read what the service tells unasked
  std::atomic<device::Time> nextWork_{Attachment::Never};  // when the attachment has something to do
  std::atomic<bool> isBack_{false};  // the service is back, and the receiving thread does not know yet
  std::atomic<std::uint64_t> deviceVersion_{0};
  std::atomic<std::uint64_t> number_{0};
};

}  // namespace channel

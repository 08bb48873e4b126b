// The library's side of a connection to a service.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "evtsrv.h"
#include "platform/channel/carried_links.h"
#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/channel/deadline.h"
#include "platform/channel/event_channel.h"
#include "platform/channel/fair_mutex.h"
#include "platform/channel/graph_channel.h"
#include "platform/channel/link_mirror.h"
#include "platform/channel/service_port.h"
#include "platform/channel/tap_list.h"
#include "platform/client/arrivals.h"
#include "platform/client/port_registry.h"
#include "platform/wire/messages.h"

namespace EvtSrv {

// One client of a service: its three channels, its ports, its taps and its mirror of the patch graph. Thread-safe,
// except for receive and close. A call that returns nullopt or false without another reason had no answer: the service
// is gone or did not answer within two seconds of the call, the system gives no socket, or the session is closed. After
// two seconds without an answer the service is not asked for one second; calls in that time return at once without an
// answer.
//
// When a service that may come back is gone, the session writes one line to standard error. From then on every request
// and every receive looks for the service, several times a second. When it is back, the session attaches with all its
// taps and says so in one line, and says in another line which connections between two systems that this client knew
// were lost. Attaching takes time in proportion to the taps, some ten thousand a second. Once a second, the receiving
// thread retries up to 100 taps of ports that did not exist then, in turn, until all exist.
class EventPortManager::Session {
 public:
  // Attaches. address: the service's name on standard error. If no service answers, returns the cause as text.
  // Blocks for at most two seconds.
  static std::variant<std::shared_ptr<Session>, std::string> open(channel::Connector connector, std::string address);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // The address given to open.
  const std::string& address() const { return address_; }

  // Sends what is pending, sends Goodbye and closes all sockets. No call has an answer afterwards. Must not run during
  // receive. Blocks until the deadline at most, after the requests of other threads are done.
  void close(const channel::Deadline& deadline = channel::Deadline(channel::AnswerTime));

  std::uint32_t addPort(EventPort& port) { return ports_.add(port); }
  void removePort(std::uint32_t number) { ports_.remove(number); }

  // See EventPortManager::receiveEvent. One thread at a time.
  EventResult receive(int milliseconds);

  std::optional<device::Status> tap(std::uint32_t port, const std::string& name, std::uint32_t holderBytes);
  std::optional<device::Status> untap(std::uint32_t port, const std::string& name);
  std::optional<device::Status> untapAll(std::uint32_t port);

  // Blocks only while the service is behind, also while it is stopped; fails at once while it is gone. bytes: not
  // empty, at most device::MaxMessageBytes.
  bool send(std::uint32_t port, std::uint16_t group, std::span<const std::uint8_t> bytes);

  // The service's number of this session; 0 while the service is gone. Another service gives another number, and may
  // have other ports at the same places.
  std::uint64_t number() const { return session_; }

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
  // number is not the given one.
  std::optional<device::Status> patch(bool made, const wire::LinkRecord& link, std::uint64_t number);

  // Copies what the up-to-date mirror says; blocks only if the mirror has to be fetched anew. Returns false, with an
  // empty result, if there is no mirror or the session's number is not the given one.
  bool sourcesOf(channel::ServicePort sink, std::uint64_t number, std::vector<channel::ServicePort>& result) {
    return peersOf(&channel::LinkMirror::sourcesOf, sink, number, result);
  }
  bool sinksOf(channel::ServicePort source, std::uint64_t number, std::vector<channel::ServicePort>& result) {
    return peersOf(&channel::LinkMirror::sinksOf, source, number, result);
  }

  // The version of the graph that the up-to-date mirror shows; nullopt where the two calls above return false.
  std::optional<std::uint64_t> graphVersion(std::uint64_t number);

 private:
  // Closed together; guarded by mutex_.
  struct Channels {
    explicit Channels(const channel::Connector& connector) : control(connector) {}
    channel::ControlChannel control;
    std::optional<channel::GraphChannel> graph;  // created by the first question about the graph
  };

  Session(channel::Connector connector, std::string address)
      : connector_(std::move(connector)), address_(std::move(address)) {}

  // With mutex_ locked.
  std::optional<device::Status> request(const std::function<wire::Body(std::uint64_t session)>& message,
                                        const channel::Deadline& deadline);

  // With mutex_ locked: returns whether the service is there, as far as is known; looks for it if it is gone.
  bool attached();
  // With mutex_ locked: call after a request without an answer, in a call with this deadline.
  void noticeLoss(const channel::Deadline& deadline);
  // With mutex_ locked and channels_ set: the service missed a deadline a moment ago and is not queried.
  bool silent() const;
  void lose();
  bool attach();

  // With mutex_ locked and channels_ set: stores the service's answer about its device.
  void keepTopology(wire::Topology topology);

  // For the receiving thread.
  bool openEvents(std::uint64_t session);
  bool passOn(std::uint32_t eventPort, std::string_view port, std::span<const std::uint8_t> event);
  void waitForService(const channel::Deadline& deadline);
  void tapMissing();
  void lookForArrivals();
  void followGraph();
  void tellLostLinks();

  // With mutex_ locked and channels_ set: reports what a service that is back has lost, or leaves that for later.
  void reportLostLinks();

  // With mutex_ locked and channels_ set. If it returns false, channels_ may be empty.
  bool openGraph(const channel::Deadline& deadline);
  using PeersOf = std::span<const channel::ServicePort> (channel::LinkMirror::*)(channel::ServicePort);
  bool peersOf(PeersOf peers, channel::ServicePort port, std::uint64_t number,
               std::vector<channel::ServicePort>& result);
  // For questions: afterwards the mirror shows what had arrived a moment ago and all that this client did. If it
  // returns false, the mirror could not be updated and channels_ may be empty.
  bool lookAtGraph(const channel::Deadline& deadline);
  bool bringMirrorUp(const channel::Deadline& deadline);
  bool waitForVersion(std::uint64_t version, const channel::Deadline& deadline);

  channel::Connector connector_;  // destroyed last
  std::string address_;
  client::PortRegistry ports_;
  channel::FairMutex mutex_;
  std::optional<Channels> channels_;  // empty while the service is gone, and after close
  channel::LinkMirror mirror_;        // guarded by mutex_, like all members up to events_
  bool mirrorValid_ = false;
  bool mirrorKnown_ = false;  // it has been valid for this service; what it holds may be out of date
  std::chrono::steady_clock::time_point nextGraphLook_;
  wire::Topology topology_;            // the last answer
  std::uint64_t topologySession_ = 0;  // the number of the session that gave it
  channel::CarriedLinks carried_;
  client::Arrivals arrivals_;
  channel::TapList taps_;
  std::size_t nextMissing_ = 0;  // the tap to try next if it is missing
  std::chrono::steady_clock::time_point nextTapLook_;
  bool closed_ = false;
  std::chrono::steady_clock::time_point nextLook_;  // when to look for a lost service, or to query a silent one
  std::optional<channel::EventChannel> events_;     // used by the receiving thread
  std::atomic<bool> tapsAreMissing_{false};
  std::atomic<bool> isBack_{false};  // the service is back, and the receiving thread has not yet looked for arrivals
  std::optional<std::chrono::steady_clock::time_point> arrivalLook_;  // of the receiving thread: when to look
  std::chrono::steady_clock::time_point nextArrivalLook_;             // likewise: not before
  std::chrono::steady_clock::time_point nextFollow_;                  // likewise: when to read changes of the graph
  std::atomic<bool> lossIsUntold_{false};               // a service that is back has not yet said what it lost
  std::chrono::steady_clock::time_point nextLossLook_;  // when to ask it again; guarded by mutex_
  std::atomic<std::uint64_t> deviceVersion_{0};
  std::atomic<std::uint64_t> session_{0};  // the service's number of this session; 0 while the service is gone
};

}  // namespace EvtSrv

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
#include "platform/client/arrivals.h"
#include "platform/client/carried_links.h"
#include "platform/client/connection.h"
#include "platform/client/control_channel.h"
#include "platform/client/deadline.h"
#include "platform/client/event_channel.h"
#include "platform/client/fair_mutex.h"
#include "platform/client/graph_channel.h"
#include "platform/client/link_mirror.h"
#include "platform/client/port_registry.h"
#include "platform/client/service_port.h"
#include "platform/client/tap_list.h"
#include "platform/wire/messages.h"

namespace EvtSrv {

// One client of a service: its three channels, its ports, its taps and its mirror of the patch graph. Any thread, but
// for receive and close. Everything that has no answer (nothing, or false) means that the service has gone or has not
// answered within two seconds of the call, that the system gives no socket, or that the session is closed. A service
// that has let these two seconds pass is not asked for a second; whoever wants to know has no answer at once.
//
// A service that goes, and may come back, costs one line on standard error. From then on every request and every
// receive looks for it, some times in a second; when it is back, the session attaches with all its taps, and says so in
// one line, and in another what connections between two systems that this client knew have ended with it; this takes as
// long as the taps are many, some ten thousand in a second. Taps of ports that are not there then are tried again by
// who receives, once a second, until they are.
class EventPortManager::Session {
 public:
  // Attaches. endpoint: what the connection is called on standard error. Without a service that answers: the cause in
  // words. Blocks two seconds at most.
  static std::variant<std::shared_ptr<Session>, std::string> open(client::Connection connection, std::string endpoint);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // What was given to open.
  const std::string& endpoint() const { return endpoint_; }

  // Hands over what is pending, takes leave and closes all sockets. Nothing has an answer afterwards. Not while receive
  // runs. Blocks until the deadline, once the requests of other threads are over.
  void close(const client::Deadline& deadline = client::Deadline(client::AnswerTime));

  std::uint32_t addPort(EventPort& port) { return ports_.add(port); }
  void removePort(std::uint32_t number) { ports_.remove(number); }

  // See EventPortManager::receiveEvent. One thread at a time.
  EventResult receive(int milliseconds);

  std::optional<wire::Status> tap(std::uint32_t port, const std::string& name, std::uint32_t holderBytes);
  std::optional<wire::Status> untap(std::uint32_t port, const std::string& name);
  std::optional<wire::Status> untapAll(std::uint32_t port);

  // Waits only while the service is behind, also when it is stopped, and fails at once while it has gone. bytes: not
  // empty, wire::MaxMessageBytes at most.
  bool send(std::uint32_t port, std::uint16_t group, std::span<const std::uint8_t> bytes);

  // The service's number of this session; 0 while it has gone. Another service has another number, and may have other
  // ports at the same places.
  std::uint64_t number() const { return session_; }

  struct Device {
    std::uint64_t session = 0;  // whose it is
    std::uint64_t version = 0;  // see deviceVersion
    wire::Topology topology;
  };
  std::optional<Device> device();

  // Another number after each answer of the service about its device that differs from the one before, whoever of this
  // session has asked. Does not wait.
  std::uint64_t deviceVersion() const { return deviceVersion_; }

  // The last of these answers; the service is not asked.
  Device lastDevice();

  // A console lists the groups and ports of this topology. From now on, what comes that none lists costs one line on
  // standard error, at most one a second, when somebody receives.
  void list(const wire::Topology& topology);

  // The status, when the mirror shows what the service has done; NoSession, and nothing done, when the session has
  // another number than the caller thinks.
  std::optional<wire::Status> patch(bool made, const wire::LinkRecord& link, std::uint64_t number);

  // Copies what the up-to-date mirror says; does not wait, but when the mirror has to be fetched anew. False without a
  // mirror, and when the session has another number: result is then empty.
  bool sourcesOf(client::ServicePort sink, std::uint64_t number, std::vector<client::ServicePort>& result) {
    return peersOf(&client::LinkMirror::sourcesOf, sink, number, result);
  }
  bool sinksOf(client::ServicePort source, std::uint64_t number, std::vector<client::ServicePort>& result) {
    return peersOf(&client::LinkMirror::sinksOf, source, number, result);
  }

  // The version of the graph that the up-to-date mirror shows; nothing where the two above answer false.
  std::optional<std::uint64_t> graphVersion(std::uint64_t number);

 private:
  // What is closed together; guarded by mutex_.
  struct Channels {
    Channels(zmq::context_t& context, const std::string& address) : control(context, address) {}
    client::ControlChannel control;
    std::optional<client::GraphChannel> graph;  // from the first question about the graph on
  };

  Session(client::Connection connection, std::string endpoint)
      : connection_(std::move(connection)), endpoint_(std::move(endpoint)) {}

  // With mutex_ locked.
  std::optional<wire::Status> request(const std::function<wire::Body(std::uint64_t session)>& message,
                                      const client::Deadline& deadline);

  // With mutex_ locked: whether the service is there, as far as is known; looks for it when it has gone.
  bool attached();
  // With mutex_ locked: what to do after something has had no answer, in a call with this deadline.
  void noticeLoss(const client::Deadline& deadline);
  // With mutex_ locked, and channels_ there: the service has let a deadline pass a moment ago, and is left in peace.
  bool silent() const;
  void lose();
  bool attach();

  // With mutex_ locked, and channels_ there: the service has answered this about its device.
  void keepTopology(wire::Topology topology);

  // For the thread that receives.
  bool openEvents(std::uint64_t session);
  void waitForService(const client::Deadline& deadline);
  void tapMissing();
  void lookForArrivals();
  void followGraph();
  void tellLostLinks();

  // With mutex_ locked, and channels_ there: says what a service that is back has lost, or leaves it for later.
  void reportLostLinks();

  // With mutex_ locked, and channels_ there; they may be gone afterwards, when the answer is false.
  bool openGraph(const client::Deadline& deadline);
  using PeersOf = std::span<const client::ServicePort> (client::LinkMirror::*)(client::ServicePort);
  bool peersOf(PeersOf peers, client::ServicePort port, std::uint64_t number, std::vector<client::ServicePort>& result);
  // For questions: the mirror shows what had arrived a moment ago, and all that this client has done. False when it
  // cannot, and then channels_ may have gone.
  bool lookAtGraph(const client::Deadline& deadline);
  bool bringMirrorUp(const client::Deadline& deadline);
  bool waitForVersion(std::uint64_t version, const client::Deadline& deadline);

  client::Connection connection_;  // the last to go
  std::string endpoint_;
  client::PortRegistry ports_;
  client::FairMutex mutex_;
  std::optional<Channels> channels_;  // none while the service has gone, and after close
  client::LinkMirror mirror_;         // guarded by mutex_, as all down to events_
  bool mirrorValid_ = false;
  bool mirrorKnown_ = false;  // it has been valid for this service; what it holds may be out of date
  std::chrono::steady_clock::time_point nextGraphLook_;
  wire::Topology topology_;            // as last answered
  std::uint64_t topologySession_ = 0;  // by the service that has this number
  client::CarriedLinks carried_;
  client::Arrivals arrivals_;
  client::TapList taps_;
  std::size_t nextMissing_ = 0;  // the tap to try next, if it is missing
  std::chrono::steady_clock::time_point nextTapLook_;
  bool closed_ = false;
  std::chrono::steady_clock::time_point nextLook_;  // for a service that has gone, or question to a silent one
  std::optional<client::EventChannel> events_;      // of the thread that receives
  std::atomic<bool> tapsAreMissing_{false};
  std::atomic<bool> isBack_{false};  // the service, since who receives has last looked for arrivals
  std::optional<std::chrono::steady_clock::time_point> arrivalLook_;  // of who receives: when to look
  std::chrono::steady_clock::time_point nextArrivalLook_;             // likewise: not before
  std::chrono::steady_clock::time_point nextFollow_;                  // likewise: when to take in news of the graph
  std::atomic<bool> lossIsUntold_{false};               // a service that is back has not said what it has lost
  std::chrono::steady_clock::time_point nextLossLook_;  // when to ask it again; guarded by mutex_
  std::atomic<std::uint64_t> deviceVersion_{0};
  std::atomic<std::uint64_t> session_{0};  // the service's number of it; 0 while the service has gone
};

}  // namespace EvtSrv

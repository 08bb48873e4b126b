// The library's side of a connection to a service.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "evtsrv.h"
#include "platform/client/connection.h"
#include "platform/client/control_channel.h"
#include "platform/client/deadline.h"
#include "platform/client/event_channel.h"
#include "platform/client/fair_mutex.h"
#include "platform/client/graph_channel.h"
#include "platform/client/link_mirror.h"
#include "platform/client/port_registry.h"
#include "platform/wire/messages.h"
#include "strmsrv.h"

namespace EvtSrv {

// One client of a service: its three channels, its ports and its mirror of the patch graph. Any thread, but for receive
// and close. Everything that has no answer (nothing, or false) means that the service has not answered within two
// seconds of the call, that the system gives no socket, or that the session is closed.
class EventPortManager::Session {
 public:
  // Attaches. Without a service that answers: the cause in words. Blocks two seconds at most.
  static std::variant<std::shared_ptr<Session>, std::string> open(client::Connection connection);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

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

  // Waits only while the service is behind. bytes: not empty, wire::MaxMessageBytes at most.
  bool send(std::uint32_t port, std::uint16_t group, std::span<const std::uint8_t> bytes);

  std::optional<wire::Topology> topology();

  // The status, when the mirror shows what the service has done.
  std::optional<wire::Status> patch(bool made, const wire::LinkRecord& link);

  // Copies what the up-to-date mirror says; does not wait, but when the mirror has to be fetched anew. False without a
  // mirror: result is then empty.
  bool sourcesOf(StrmSrv::PortRecord sink, std::vector<StrmSrv::PortRecord>& result);
  bool sinksOf(StrmSrv::PortRecord source, std::vector<StrmSrv::PortRecord>& result);

 private:
  // What is closed together; guarded by mutex_.
  struct Channels {
    client::ControlChannel control;
    std::optional<client::GraphChannel> graph;  // from the first question about the graph on
  };

  explicit Session(client::Connection connection) : connection_(std::move(connection)) {}

  std::optional<wire::Status> request(const std::function<wire::Body(std::uint64_t session)>& message);

  // With mutex_ locked, and channels_ there.
  bool openGraph(const client::Deadline& deadline);
  bool bringMirrorUp(const client::Deadline& deadline);
  bool waitForVersion(std::uint64_t version, const client::Deadline& deadline);

  client::Connection connection_;  // the last to go
  client::PortRegistry ports_;
  client::FairMutex mutex_;
  std::optional<Channels> channels_;
  client::LinkMirror mirror_;  // guarded by mutex_
  bool mirrorValid_ = false;
  std::optional<client::EventChannel> events_;  // of the thread that receives
};

}  // namespace EvtSrv

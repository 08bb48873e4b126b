#include "platform/client/session.h"

#include <cerrno>
#include <exception>
#include <mutex>
#include <utility>

namespace EvtSrv {

using client::Deadline;

std::variant<std::shared_ptr<EventPortManager::Session>, std::string> EventPortManager::Session::open(
    client::Connection connection) {
  const Deadline deadline(client::AnswerTime);
  try {
    const std::shared_ptr<Session> session(new Session(std::move(connection)));
    zmq::context_t& context = session->connection_.context();
    const std::string& address = session->connection_.address();
    auto& control =
        session->channels_.emplace(Channels{client::ControlChannel(context, address), std::nullopt}).control;
    if (!control.greet(program_invocation_short_name, deadline)) return "the service does not answer";
    session->events_.emplace(context, address, control.session());
    if (session->events_->open(deadline)) return session;
    // Within the same deadline: the time for waiting is used up.
    session->close(deadline);
    return "the service gives no events";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

EventPortManager::Session::~Session() { close(); }

void EventPortManager::Session::close(const Deadline& deadline) {
  const std::lock_guard guard(mutex_);
  if (channels_ && channels_->control.session() != 0) {
    channels_->control.ask<wire::Result>(wire::Goodbye{channels_->control.session()}, deadline);
  }
  channels_.reset();
  events_.reset();
}

EventResult EventPortManager::Session::receive(int milliseconds) {
  if (!events_) return EvtRes_DoNothing;
  const Deadline deadline{std::chrono::milliseconds(milliseconds)};
  return events_->receive(ports_, deadline) ? EvtRes_Success : EvtRes_DoNothing;
}

std::optional<wire::Status> EventPortManager::Session::tap(std::uint32_t port, const std::string& name,
                                                           std::uint32_t holderBytes) {
  return request([&](std::uint64_t session) { return wire::Tap{session, port, holderBytes, name}; });
}

std::optional<wire::Status> EventPortManager::Session::untap(std::uint32_t port, const std::string& name) {
  return request([&](std::uint64_t session) { return wire::Untap{session, port, name}; });
}

std::optional<wire::Status> EventPortManager::Session::untapAll(std::uint32_t port) {
  return request([&](std::uint64_t session) { return wire::UntapAll{session, port}; });
}

std::optional<wire::Status> EventPortManager::Session::request(
    const std::function<wire::Body(std::uint64_t session)>& message) {
  // Begins in front of the lock, so that all who wait behind one request give up together.
  const Deadline deadline(client::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!channels_) return std::nullopt;
  const auto result = channels_->control.ask<wire::Result>(message(channels_->control.session()), deadline);
  return result ? std::optional(result->status) : std::nullopt;
}

bool EventPortManager::Session::send(std::uint32_t port, std::uint16_t group, std::span<const std::uint8_t> bytes) {
  const std::lock_guard guard(mutex_);
  return channels_ && channels_->control.send(port, group, bytes);
}

std::optional<wire::Topology> EventPortManager::Session::topology() {
  const Deadline deadline(client::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!channels_) return std::nullopt;
  return channels_->control.ask<wire::Topology>(wire::AskTopology{channels_->control.session()}, deadline);
}

std::optional<wire::Status> EventPortManager::Session::patch(bool made, const wire::LinkRecord& link) {
  const Deadline deadline(client::AnswerTime);
  const std::lock_guard guard(mutex_);
  // Before the change, so that what follows it is only news.
  if (!channels_ || !bringMirrorUp(deadline)) return std::nullopt;
  const wire::Patch change{
      channels_->control.session(), made, link.sourceGroup, link.sourceIndex, link.sinkGroup, link.sinkIndex};
  const auto result = channels_->control.ask<wire::Result>(change, deadline);
  if (!result || !waitForVersion(result->graphVersion, deadline)) return std::nullopt;
  return result->status;
}

bool EventPortManager::Session::sourcesOf(StrmSrv::PortRecord sink, std::vector<StrmSrv::PortRecord>& result) {
  result.clear();
  const Deadline deadline(client::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!channels_ || !bringMirrorUp(deadline)) return false;
  const auto sources = mirror_.sourcesOf(sink);
  result.assign(sources.begin(), sources.end());
  return true;
}

bool EventPortManager::Session::sinksOf(StrmSrv::PortRecord source, std::vector<StrmSrv::PortRecord>& result) {
  result.clear();
  const Deadline deadline(client::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!channels_ || !bringMirrorUp(deadline)) return false;
  const auto sinks = mirror_.sinksOf(source);
  result.assign(sinks.begin(), sinks.end());
  return true;
}

bool EventPortManager::Session::openGraph(const Deadline& deadline) {
  auto& graph = channels_->graph;
  if (graph) return true;
  try {
    graph.emplace(connection_.context(), connection_.address(), channels_->control.session());
  } catch (const std::exception&) {
    return false;
  }
  if (graph->open(deadline)) return true;
  graph.reset();
  return false;
}

bool EventPortManager::Session::bringMirrorUp(const Deadline& deadline) {
  if (!openGraph(deadline)) return false;
  if (!channels_->graph->drain(mirror_)) mirrorValid_ = false;
  if (mirrorValid_) return true;
  const auto links = channels_->control.ask<wire::Links>(wire::AskLinks{channels_->control.session()}, deadline);
  if (!links) return false;
  mirror_.reset(*links);
  mirrorValid_ = true;
  return true;
}

bool EventPortManager::Session::waitForVersion(std::uint64_t version, const Deadline& deadline) {
  while (bringMirrorUp(deadline)) {
    if (mirror_.version() >= version) return true;
    if (!channels_->graph->wait(deadline)) return false;
  }
  return false;
}

}  // namespace EvtSrv

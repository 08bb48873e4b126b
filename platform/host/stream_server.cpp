#include "platform/host/stream_server.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

namespace host {
namespace {

// Connections that may wait to be accepted; the system's own limit is as high. Beyond it a client waits.
constexpr int WaitingConnections = 4096;

// Above this, nothing of a connection is handled until its peer has taken some: no peer that follows the rules has as
// much on its way.
constexpr std::size_t MaxWaitingBytes = 1U << 20U;

// What is written to so many connections, or so many bytes, before others have their turn.
constexpr int WritesAtOnce = 256;
constexpr std::size_t WrittenAtOnce = 1U << 20U;

// Above this, the next piece of a long answer waits.
constexpr std::size_t RoomBytes = 256U << 10U;

// Turns of one connection before the next has one.
constexpr int TurnsInARow = 16;

// A message counts as one turn more for so much that is sent to its connection.
constexpr std::size_t BytesOfATurn = 8U << 10U;

// In one round connections continue for so long, and until they have sent so much, but at least one of them. The piece
// of a long answer takes longer, so there is one in a round, however many wait; of short answers there are many.
constexpr std::chrono::microseconds ContinuingTime{250};
constexpr std::size_t ContinuingBytes = 256U << 10U;

// Connections that have ended are closed for so long at once, but at least one of them: one that has made much may need
// as long alone.
constexpr std::chrono::milliseconds ClosingTime{1};

// While so many connections wait for their turn, no first turn is due.
constexpr std::size_t BusyConnections = 64;

// Of the connections that wait for their first turn, so many have it even then.
constexpr int FirstTurnsAtLeast = 4;

// Descriptors that are not used for connections, so that everything else can still be opened.
constexpr rlim_t SpareDescriptors = 16;

// Connections whose buffers are smaller are not worth closing.
constexpr std::size_t HeavyBytes = 4096;

// Connections that are trimmed at once.
constexpr int TrimmedAtOnce = 16;

constexpr std::chrono::seconds AcceptAgainTime{1};

// A lack that follows another one within this time is part of it.
constexpr std::chrono::seconds QuietTime{10};

std::size_t waitingLimit(bool continues) { return continues ? RoomBytes : MaxWaitingBytes; }

bool isSpare(int descriptor) {
  rlimit limit{};
  return getrlimit(RLIMIT_NOFILE, &limit) == 0 && static_cast<rlim_t>(descriptor) + SpareDescriptors >= limit.rlim_cur;
}

// Whether accepting failed for lack of something, and not because the peer has left.
bool lacksResources(const std::error_code& cause) {
  return cause == std::errc::too_many_files_open || cause == std::errc::too_many_files_open_in_system ||
         cause == std::errc::no_buffer_space || cause == std::errc::not_enough_memory;
}

}  // namespace

StreamServer::StreamServer(asio::io_context& loop, Receiver receiver, Log log)
    : loop_(loop), receiver_(std::move(receiver)), log_(std::move(log)), acceptAgain_(loop) {}

std::optional<std::string> StreamServer::listen(const std::string& path) {
  try {
    Acceptor& acceptor = acceptors_.emplace_back(loop_);
    acceptor.open();
    acceptor.bind(asio::local::stream_protocol::endpoint(path));
    acceptor.listen(WaitingConnections);
    accept(acceptor);
    return std::nullopt;
  } catch (const std::system_error& failure) {
    acceptors_.pop_back();
    return failure.code().message();
  }
}

void StreamServer::adopt(sys::UniqueDescriptor socket) {
  Socket connected(loop_);
  connected.assign(asio::generic::stream_protocol(AF_UNIX, 0), socket.get());
  socket.release();
  enter(std::move(connected));
}

void StreamServer::enter(Socket socket) {
  const ConnectionId id{++last_};
  Peer& peer = *peers_.emplace(id, std::make_unique<Peer>(std::move(socket), id)).first->second;
  peer.user = userOf(peer.socket.native_handle()).value_or(0);
  enterMemory(peer);
  peer.process = processOf(peer.socket.native_handle());
  waitToRead(peer);
  receiver_.opened(id);
}

void StreamServer::accept(Acceptor& acceptor) {
  acceptor.async_accept([this, &acceptor](const std::error_code& problem, asio::local::stream_protocol::socket socket) {
    if (problem == asio::error::operation_aborted) return;
    if (lacksResources(problem)) return pauseAccepting(acceptor, problem);
    if (!problem) {
      if (isSpare(socket.native_handle())) {
        held_.emplace_back(socket.release());
        return pauseAccepting(acceptor, std::make_error_code(std::errc::too_many_files_open));
      }
      enter(std::move(socket));
    }
    // Also while many wait: in the system's queue nobody can pass those that came before.
    accept(acceptor);
  });
}

void StreamServer::pauseAccepting(Acceptor& acceptor, const std::error_code& reason) {
  const auto now = asio::steady_timer::clock_type::now();
  const auto before = std::exchange(lackedAt_, now);
  if (log_ && (!before || now - *before > QuietTime)) log_("new clients have to wait: " + reason.message());
  paused_.push_back(&acceptor);
  lacksDescriptors_ = true;
  waitForDescriptors();
}

void StreamServer::waitForDescriptors() {
  acceptAgain_.expires_after(AcceptAgainTime);
  acceptAgain_.async_wait([this](const std::error_code& problem) {
    if (!problem) resumeAccepting();
  });
}

void StreamServer::resumeAccepting() {
  for (sys::UniqueDescriptor& socket : std::exchange(held_, {})) {
    // Under its own number it would use up what is spared.
    sys::UniqueDescriptor lowest(fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
    if (!lowest || isSpare(lowest.get())) {
      held_.push_back(std::move(socket));
    } else {
      adopt(std::move(lowest));
    }
  }
  if (!held_.empty()) return waitForDescriptors();
  lacksDescriptors_ = false;
  for (Acceptor* acceptor : std::exchange(paused_, {})) accept(*acceptor);
}

bool StreamServer::holdsTooMuch() const {
  if (ledger_ == nullptr || !ledger_->isOver()) return false;
  return !unfreeable_ || ledger_->total() > *unfreeable_ + ledger_->ceiling() / 64;
}

StreamServer::Peer* StreamServer::find(ConnectionId id) const {
  const auto found = peers_.find(id);
  return found == peers_.end() ? nullptr : found->second.get();
}

void StreamServer::waitToRead(Peer& peer) {
  peer.socket.async_wait(Socket::wait_read, [this, id = peer.id](const std::error_code& problem) {
    if (problem) return;
    if (Peer* readable = find(id)) becomeReady(*readable);
  });
}

void StreamServer::becomeReady(Peer& peer) {
  if (!peer.isNew) return ready_.push_back(peer.id);
  if (!firstTurns_.enter(peer.process, peer.id)) end(peer.id);
}

bool StreamServer::serve(int turns) {
  for (int first = 0; first < FirstTurnsAtLeast || ready_.size() < BusyConnections; ++first) {
    const auto connection = firstTurns_.take();
    if (!connection) break;
    if (find(*connection) != nullptr) ready_.push_back(*connection);
  }
  if (ledger_ != nullptr && !ledger_->isOver()) unfreeable_.reset();
  for (bool isFirst = true; turns > 0 && !ready_.empty(); isFirst = false) {
    if (!isFirst && holdsTooMuch()) break;
    turns -= takeTurn();
  }
  if (!continuing_.empty()) continueSome();
  if (!closing_.empty()) closeEnded();
  return hasWork();
}

void StreamServer::continueSome() {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + ContinuingTime;
  std::size_t bytes = 0;
  do {
    bytes += continueNext();
  } while (!continuing_.empty() && bytes < ContinuingBytes && !holdsTooMuch() && Clock::now() < end);
}

std::size_t StreamServer::continueNext() {
  const ConnectionId id = continuing_.front();
  continuing_.pop_front();
  Peer* peer = find(id);
  if (peer == nullptr || !hasRoom(*peer)) return 0;
  const std::size_t before = peer->stream.waiting();
  peer->continues = false;
  // Nobody gets the rest of an answer once its reader has gone.
  if (!peer->stream.failed()) receiver_.continued(id);
  (peer->continues ? continuing_ : ready_).push_back(id);
  return peer->stream.waiting() - before;
}

void StreamServer::closeEnded() {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + ClosingTime;
  do {
    const ConnectionId id = closing_.front();
    closing_.pop_front();
    if (find(id) != nullptr) this->end(id);
  } while (!closing_.empty() && Clock::now() < end);
}

int StreamServer::takeTurn() {
  Peer* peer = find(ready_.front());
  if (peer == nullptr) {
    ready_.pop_front();
    return 1;
  }
  if (!hasRoom(*peer)) {
    ready_.pop_front();
    return 1;
  }
  if (const auto turns = handleNext(*peer)) return *turns;
  // Another read would find nothing, and waiting ends at once if it would.
  if (std::exchange(peer->hasRead, false) && peer->stream.drained()) {
    enterMemory(*peer);
    leaveReady(*peer);
    return 1;
  }
  const auto read = peer->stream.read();
  enterMemory(*peer);
  switch (read) {
    case channel::Stream::Read::Bytes:
      peer->hasRead = true;
      nextPeer(*peer, 1);
      break;
    case channel::Stream::Read::Nothing:
      leaveReady(*peer);
      break;
    case channel::Stream::Read::Ended:
      ready_.pop_front();
      // The end of a client costs more than a turn, that of a connection that was never used does not.
      if (peer->isNew) {
        end(peer->id);
      } else {
        closing_.push_back(peer->id);
      }
      break;
  }
  return 1;
}

bool StreamServer::hasRoom(Peer& peer) {
  const std::size_t limit = waitingLimit(peer.continues);
  // What was sent may have been taken already.
  if (peer.stream.waiting() > limit) write(peer);
  peer.isPaused = peer.stream.waiting() > limit;
  return !peer.isPaused;
}

std::optional<int> StreamServer::handleNext(Peer& peer) {
  const std::size_t before = peer.stream.waiting();
  if (!peer.message) peer.message = peer.stream.next();
  if (!peer.message) return std::nullopt;
  peer.isNew = false;
  const Handled handled = receiver_.received(peer.id, *peer.message);
  if (handled.all) peer.message.reset();
  const auto sentTurns = static_cast<int>((peer.stream.waiting() - before) / BytesOfATurn);
  const int turns = std::max(handled.turns, 1) + sentTurns;
  if (peer.continues) {
    peer.inARow = 0;
    ready_.pop_front();
    continuing_.push_back(peer.id);
  } else {
    // Whoever waits keeps nobody else waiting.
    nextPeer(peer, handled.turns == 0 ? TurnsInARow : turns);
  }
  return turns;
}

void StreamServer::leaveReady(Peer& peer) {
  ready_.pop_front();
  peer.inARow = 0;
  emptied_.push_back(peer.id);
}

void StreamServer::nextPeer(Peer& peer, int turns) {
  peer.inARow += turns;
  if (peer.inARow < TurnsInARow) return;
  peer.inARow = 0;
  ready_.pop_front();
  ready_.push_back(peer.id);
}

void StreamServer::end(ConnectionId connection) {
  disconnect(connection);
  receiver_.closed(connection);
}

void StreamServer::disconnect(ConnectionId connection) {
  Peer* peer = find(connection);
  if (peer == nullptr) return;
  enterMemory(*peer, false);
  peers_.erase(connection);
  if (lacksDescriptors_) resumeAccepting();
}

void StreamServer::closeAll() {
  paused_.clear();
  acceptors_.clear();
  held_.clear();
  for (auto& [id, peer] : peers_) enterMemory(*peer, false);
  peers_.clear();
  ready_.clear();
  continuing_.clear();
  firstTurns_ = {};
  emptied_.clear();
  closing_.clear();
  unflushed_.clear();
}

void StreamServer::send(ConnectionId to, std::span<const std::uint8_t> message) {
  Peer* peer = find(to);
  if (peer == nullptr) return;
  peer->stream.queue(message);
  enterMemory(*peer);
  if (!peer->waitsToWrite && !std::exchange(peer->isUnflushed, true)) unflushed_.push_back(to);
}

void StreamServer::continueLater(ConnectionId connection) {
  if (Peer* peer = find(connection)) peer->continues = true;
}

void StreamServer::enterMemory(Peer& peer, bool isThere) {
  if (ledger_ == nullptr) return;
  const std::size_t held = isThere ? peer.stream.bytes() : 0;
  const std::size_t bytes = isThere ? ConnectionBytes + held : 0;
  if (bytes == peer.counted) return;
  ledger_->change(peer.user, std::exchange(peer.counted, bytes), bytes);
  const int size = held < HeavyBytes ? 0 : static_cast<int>(std::bit_width(held));
  if (size == peer.size) return;
  if (peer.size > 0) heavy_.erase({peer.user, peer.size, peer.id});
  if (size > 0) heavy_.emplace(peer.user, size, peer.id);
  peer.size = size;
}

std::optional<ConnectionId> StreamServer::heaviestOf(std::uint32_t user) {
  constexpr ConnectionId Last{std::numeric_limits<std::uint64_t>::max()};
  for (int i = 0; i < TrimmedAtOnce && ledger_ != nullptr && ledger_->isOver(); ++i) {
    const auto after = heavy_.upper_bound({user, std::numeric_limits<int>::max(), Last});
    if (after == heavy_.begin() || std::get<0>(*std::prev(after)) != user) {
      unfreeable_ = ledger_->total();
      return std::nullopt;
    }
    Peer& peer = *find(std::get<2>(*std::prev(after)));
    const int before = peer.size;
    peer.stream.trim();
    enterMemory(peer);
    if (peer.size == before) return peer.id;
  }
  return std::nullopt;
}

void StreamServer::endAfterReading(ConnectionId connection) {
  if (Peer* peer = find(connection)) {
    std::error_code ignored;
    peer->socket.shutdown(Socket::shutdown_receive, ignored);
  }
}

PeerIdentity StreamServer::identity(ConnectionId connection) const {
  Peer* peer = find(connection);
  return peer == nullptr ? PeerIdentity{} : identityOf(peer->socket.native_handle());
}

void StreamServer::flush() {
  std::size_t bytes = 0;
  for (int writes = 0; writes < WritesAtOnce && bytes < WrittenAtOnce && !unflushed_.empty(); ++writes) {
    Peer* peer = find(unflushed_.front());
    unflushed_.pop_front();
    if (peer == nullptr) continue;
    peer->isUnflushed = false;
    bytes += peer->stream.waiting();
    write(*peer);
  }
  // Not before: an answer must not be later for it.
  for (const ConnectionId id : emptied_) {
    if (Peer* peer = find(id)) waitToRead(*peer);
  }
  emptied_.clear();
}

void StreamServer::write(Peer& peer) {
  if (!peer.stream.flush()) {
    // Ends reading, too.
    std::error_code ignored;
    peer.socket.shutdown(Socket::shutdown_both, ignored);
  }
  enterMemory(peer);
  if (peer.isPaused && peer.stream.waiting() <= waitingLimit(peer.continues)) {
    peer.isPaused = false;
    (peer.continues ? continuing_ : ready_).push_back(peer.id);
  }
  if (peer.stream.waiting() == 0 || std::exchange(peer.waitsToWrite, true)) return;
  peer.socket.async_wait(Socket::wait_write, [this, id = peer.id](const std::error_code& problem) {
    Peer* waiting = problem ? nullptr : find(id);
    if (waiting == nullptr) return;
    waiting->waitsToWrite = false;
    write(*waiting);
  });
}

}  // namespace host

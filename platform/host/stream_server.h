// The sockets of a host.
#pragma once

#include <asio/generic/stream_protocol.hpp>
#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <system_error>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/channel/stream.h"
#include "platform/host/connections.h"
#include "platform/host/first_turns.h"
#include "platform/host/handled.h"
#include "platform/host/log.h"
#include "platform/service/memory_ledger.h"
#include "platform/system/unique_descriptor.h"

namespace host {

// Accepts connections and carries their frames. Whatever its peers do, no connection holds up another: each has its
// turn, and reads only when its turn comes. A message that is long work is handled in pieces, one each turn; the next
// one of its connection waits until it is through. A peer that does not take what is sent to it is not read from.
// Neither is one whose last request is still being answered, piece by piece. A peer that announces a frame that is too
// long is disconnected.
//
// What connections hold is entered in a ledger: what has arrived and was not handled, and what waits to be written.
// While that is too much, turns come one by one, so that its owner can do something about it between them.
//
// Connections that have sent no message yet have their first turns after all others, one process after the other; of
// one process only so many may wait. So whoever connects and says hello as fast as it can keeps nobody away. If
// descriptors run out, no connection is accepted until one closes or a second has passed. One line says so, however
// often that happens in a row.
//
// For one thread, which also runs the loop.
class StreamServer : public Connections {
 public:
  // What a connection costs besides its buffers: here, in the loop, and in the tables of others. Measured with
  // mallinfo2 over 10,000 connections.
  static constexpr std::size_t ConnectionBytes = 768;

  // What arrives. received and continued are called by serve only, and so is closed for a connection that has sent a
  // message.
  struct Receiver {
    std::function<void(ConnectionId connection)> opened;
    // The message is valid during the call. If it says that the message is not handled yet, it is called again with the
    // same bytes at the same place.
    std::function<Handled(ConnectionId from, std::span<const std::uint8_t> message)> received;
    // Comes after the connection's last message; not after disconnect and closeAll.
    std::function<void(ConnectionId connection)> closed;
    // See Connections::continueLater.
    std::function<void(ConnectionId connection)> continued{};
  };

  // loop must outlive the server.
  StreamServer(asio::io_context& loop, Receiver receiver, Log log);

  // Enters what connections hold in this ledger. Call it before there are any. The ledger must outlive all other calls.
  void countIn(service::MemoryLedger& ledger) { ledger_ = &ledger; }

  // Accepts connections at a local socket with this path, which must not exist. Returns nullopt on success, else the
  // reason in words.
  std::optional<std::string> listen(const std::string& path);

  // Takes over a connected stream socket. Throws std::system_error if the system has no memory for it.
  void adopt(sys::UniqueDescriptor socket);

  // Handles what has arrived, in about `turns` turns: a read is one, and a message is as many as it costs (see
  // Handled). Then continues connections (see continueLater): one at least, and more only if that is quick. Returns
  // true if something is left to do.
  bool serve(int turns);

  // True if something is left to handle or to write. After flush, this is work for serve, and for flush.
  bool hasWork() const {
    return !ready_.empty() || !continuing_.empty() || !firstTurns_.empty() || !closing_.empty() || !emptied_.empty() ||
           !unflushed_.empty();
  }

  // Writes what was sent since the last call, to some of the connections, and then gets ready to wait. Call it before
  // waiting.
  void flush();

  // Closes all connections.
  void closeAll();

  void send(ConnectionId to, std::span<const std::uint8_t> message) override;
  void continueLater(ConnectionId connection) override;
  void endAfterReading(ConnectionId connection) override;
  PeerIdentity identity(ConnectionId connection) const override;
  void disconnect(ConnectionId connection) override;
  std::optional<ConnectionId> heaviestOf(std::uint32_t user) override;

 private:
  using Socket = asio::generic::stream_protocol::socket;
  using Acceptor = asio::local::stream_protocol::acceptor;

  struct Peer {
    Peer(Socket connected, ConnectionId number)
        : socket(std::move(connected)), stream(socket.native_handle()), id(number) {}

    Socket socket;
    channel::Stream stream;
    ConnectionId id;
    std::uint32_t process = 0;                               // who connected it
    bool isNew = true;                                       // no message has arrived
    std::optional<std::span<const std::uint8_t>> message{};  // handled in part
    int inARow = 0;                                          // turns without another connection's
    bool hasRead = false;                                    // its last turn that handled no message has read bytes
    bool isUnflushed = false;                                // stands in unflushed_
    bool waitsToWrite = false;
    bool isPaused = false;   // not read from until it takes what is sent to it
    bool continues = false;  // see continueLater
    std::uint32_t user = 0;
    std::size_t counted = 0;  // bytes, as entered in the ledger
    int size = 0;             // its place in heavy_; 0: none
  };

  Peer* find(ConnectionId id) const;
  void enter(Socket socket);
  void accept(Acceptor& acceptor);
  void pauseAccepting(Acceptor& acceptor, const std::error_code& reason);
  void resumeAccepting();
  void waitForDescriptors();
  void waitToRead(Peer& peer);
  void becomeReady(Peer& peer);
  // No turn is left to do for the connection at the front of ready_.
  void leaveReady(Peer& peer);
  void write(Peer& peer);
  // Performs one turn of the connection at the front of ready_. Returns for how many it counts.
  int takeTurn();
  // Handles a message of the connection, or a piece of it. Returns for how many turns that counts; nullopt if there is
  // none.
  std::optional<int> handleNext(Peer& peer);
  // Continues connections, as long as serve says.
  void continueSome();
  // Performs one turn of the connection at the front of continuing_. Returns how many bytes it has sent.
  std::size_t continueNext();
  // Returns false if it has to wait until its peer takes some of what is sent to it.
  bool hasRoom(Peer& peer);
  // It has had so many turns.
  void nextPeer(Peer& peer, int turns);
  // Enters what the peer holds now, if it is there, else that it holds nothing any more.
  void enterMemory(Peer& peer, bool isThere = true);
  // False while the ledger shows little more than what heaviestOf could not free: then turns one by one help nobody.
  bool holdsTooMuch() const;
  void closeEnded();
  void end(ConnectionId connection);

  asio::io_context& loop_;
  Receiver receiver_;
  Log log_;
  std::list<Acceptor> acceptors_;
  asio::steady_timer acceptAgain_;
  std::vector<Acceptor*> paused_;  // they wait for descriptors
  bool lacksDescriptors_ = false;
  std::vector<sys::UniqueDescriptor> held_;  // accepted with the last descriptors; they wait for lower ones
  std::optional<asio::steady_timer::time_point> lackedAt_;  // descriptors, the last time
  std::unordered_map<ConnectionId, std::unique_ptr<Peer>> peers_;
  std::deque<ConnectionId> ready_;       // may have something to read; each stands here once
  std::deque<ConnectionId> continuing_;  // instead of in ready_: see continueLater
  FirstTurns firstTurns_;                // likewise, but have sent no message yet
  std::deque<ConnectionId> closing_;     // have ended; thousands may end at once, and those that live come first
  std::vector<ConnectionId> emptied_;    // have no turn left, and do not wait for more yet
  std::deque<ConnectionId> unflushed_;
  std::uint64_t last_ = 0;
  service::MemoryLedger* ledger_ = nullptr;
  std::optional<std::size_t> unfreeable_;                         // the total when heaviestOf found nothing to free
  std::set<std::tuple<std::uint32_t, int, ConnectionId>> heavy_;  // by user and size, which is a power of two
};

}  // namespace host

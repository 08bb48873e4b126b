// Reads all connections, on the thread that talks to the server.
#pragma once

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/server_thread.h"

namespace drivers::jack {

// The connection of a source to a sink, by their full names.
using NamedLink = std::pair<std::string, std::string>;

// While a change of the graph is about to take effect, JACK answers a question about connections only after a period,
// for each port again. So the service's thread does not ask, and gets the answers later. Reads in pieces, between which
// the thread serves others.
class LinkReading {
 public:
  // server: must outlive this object.
  explicit LinkReading(ServerThread& server) : server_(server) {}

  // Begins to read the connections of these sources. Gives up what it was reading before.
  void begin(const Client& client, std::vector<std::string> sources);

  // The service was told of a change of this connection, which may be newer than what is read.
  void changed(const std::string& source, const std::string& sink);

  // Returns the connections that have been read since the last call, without those that have changed since begin.
  std::vector<NamedLink> take();

  // The same, but blocks until all are read, or for this long.
  std::vector<NamedLink> take(std::chrono::milliseconds patience);

  // Call this before the client is closed.
  void clientGone();

 private:
  struct Piece;

  void ask();
  // The connections of the piece that has been read.
  std::vector<NamedLink> takePiece();

  ServerThread& server_;
  const Client* client_ = nullptr;
  std::vector<std::string> sources_;  // not asked for yet, the next one last
  std::shared_ptr<Piece> piece_;      // null: nothing is being read
  ServerThread::Request request_;     // that reads the piece
  std::set<NamedLink> changed_;
};

}  // namespace drivers::jack

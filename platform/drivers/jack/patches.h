// Our changes of JACK's connections.
#pragma once

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/device/driver.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/echoes.h"
#include "platform/drivers/jack/link_reading.h"
#include "platform/drivers/jack/server_thread.h"

namespace drivers::jack {

// Asks the server to make and end connections, and separates its reports of these changes from news.
class Patches {
 public:
  // links: is told of what is reported. Both must outlive this object.
  Patches(ServerThread& server, LinkReading& links) : server_(server), links_(links) {}

  // See device::Driver::patch. names: of the source and the sink of the connection.
  void ask(Client& client, device::RequestId request, bool made, const device::Link& link,
           const std::pair<std::string, std::string>& names, device::DriverEvents& events, device::Time now);

  // JACK reported a change. Returns true if it is news for the service.
  bool isNews(const std::string& source, const std::string& sink, bool made);

  // Answers the requests that are done or take too long. Returns when to call again; nullopt if none is left.
  std::optional<device::Time> advance(device::DriverEvents& events, device::Time now);

  // Returns true, once, if a request took too long since the last call.
  bool takeTooLong() { return std::exchange(tooLong_, false); }

  // The client was closed: answers all requests.
  void clientGone(device::DriverEvents& events, device::Time now);

 private:
  struct Open {
    device::RequestId id{};
    bool made = false;
    device::Link link;
    std::string source;
    std::string sink;
    device::Time deadline{};
    ServerThread::Request request{};
    // What JACK has reported of this connection since the request was made: a change, and one like ours.
    bool changed = false;
    bool echoed = false;
    bool isReverted = false;  // and then the opposite
    // It took too long and has been answered, but was under way. The server's thread undoes it when it is done, and
    // says whether it could. Until then, what JACK reports of it must not pass for a report of a later request.
    bool isWithdrawn = false;
    std::shared_ptr<bool> isUndone = std::make_shared<bool>(false);
  };

  // Whether a report of this change is one of the request.
  static bool explains(const Open& open, bool made) {
    if (!open.echoed) return open.made == made;
    return open.isWithdrawn && !open.isReverted && open.made != made;
  }

  void finishWithdrawn(const Open& open, int result);
  device::Status finish(const Open& open, int result, device::DriverEvents& events, device::Time now);

  ServerThread& server_;
  LinkReading& links_;
  Echoes echoes_;
  std::list<Open> open_;  // in the order of the requests
  bool tooLong_ = false;
};

}  // namespace drivers::jack

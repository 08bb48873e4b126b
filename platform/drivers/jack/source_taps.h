// The used sources, and our connections to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/device/driver.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/port_directory.h"
#include "platform/drivers/jack/server_thread.h"
#include "platform/drivers/jack/skipped_periods.h"
#include "platform/drivers/jack/source_reader.h"

namespace drivers::jack {

// Each source that is used and exists has an input port of ours.
class SourceTaps {
 public:
  // server: must outlive this object.
  explicit SourceTaps(ServerThread& server) : server_(server) {}

  // See device::Driver::setUsed. client: null while no server runs. silent: the server does not answer at the moment,
  // so that a source is refused at once, until it answers.
  std::optional<device::Status> setUsed(Client* client, const PortDirectory& ports, device::PortId source, bool used,
                                        bool silent, device::Time now);

  // Makes missing connections, and closes ports whose source no longer exists.
  void restore(Client& client, const PortDirectory& ports);

  // Reports which sources can be used, as far as the server has answered, and those for which it takes too long. Logs
  // it if there are too few ports. Returns when to call again; nullopt if no answer is due.
  std::optional<device::Time> advance(Client& client, device::DriverEvents& events, device::Time now);

  // Returns true, once, if an answer took too long since the last call.
  bool takeTooLong() { return std::exchange(tooLong_, false); }

  // Call this before the client is closed, and all connections with it.
  void clientGone(device::DriverEvents& events, device::Time now);

  // JACK ran without the client: what the sources emitted meanwhile may be lost.
  void skipped();

  // Reports skipped periods, each source at most once a second. Returns when to call again; nullopt if nothing waits.
  std::optional<device::Time> tellSkipped(device::DriverEvents& events, device::Time now);

  // Reports what has arrived, about this many bytes of events. Returns true if more has.
  bool take(Client& client, device::DriverEvents& events, device::Time now, std::size_t bytes);

 private:
  struct Tap {
    std::uint32_t number = 0;
    SourceReader reader{};
    ServerThread::Request request{};         // null: none is open
    bool isNew = false;                      // the request makes the port, too
    bool isConnected = false;                // what the source emits arrives
    std::optional<device::Time> deadline{};  // for the connection to be in effect
    std::optional<std::string> next{};       // connect to the source of this name afterwards
  };

  // Asks for the port, unless there is one, and for the connection. JACK may refuse the connection, as it does while
  // the source's client is not active; restore tries again.
  Tap& tap(Client& client, const std::string& name, device::PortId source, ServerThread::Turn turn);
  void untap(Client& client, device::PortId source);
  bool isMade(Client& client, device::PortId source, int result, device::DriverEvents& events, device::Time now);
  void noteMissing(device::DriverEvents& events);

  ServerThread& server_;
  std::set<device::PortId> used_;
  SkippedPeriods skipped_;
  std::map<device::PortId, Tap> taps_;
  std::unordered_map<std::uint32_t, device::PortId> sources_;  // by port number
  std::set<device::PortId> asked_;                             // those of taps_ that are being made
  std::uint32_t lastNumber_ = 0;
  std::size_t missing_ = 0;  // ports that JACK did not give, not logged yet
  bool tooLong_ = false;
};

}  // namespace drivers::jack

// Requests of clients whose answers depend on the device.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "platform/device/driver.h"
#include "platform/service/open_requests.h"
#include "platform/service/source_use.h"
#include "platform/service/tap_table.h"

namespace service {

// Passes patches to the driver, and answers them when the driver does. Answers taps and carried connections once the
// driver can use their sources, or refuses and ends them. Call settle after each of these operations, and of the
// driver.
class DeviceRequests {
 public:
  // What this class needs to know of connections, and do with them.
  struct Connections {
    std::function<bool(const device::Link&)> isCarried;  // the service carries it
    std::function<void(const device::Link&)> disconnect;
  };

  // All must outlive this object.
  DeviceRequests(device::Driver& driver, TapTable& taps, SourceUse& use, Connections connections)
      : driver_(driver), taps_(taps), use_(use), connections_(std::move(connections)) {}

  // Returns nullopt if the service has to carry the connection.
  std::optional<Reply> patch(bool made, const device::Link& link, device::Time now);

  // For a tap or a connection that stands, and is settled (see SourceUse::settle).
  Reply use(const OpenRequests::Use& request);

  // Answers what can be answered now, in pieces, and settles what that changes. Returns true if it did something.
  bool settle(device::Time now);

  // True while settle has work of its own.
  bool isUnsettled() const { return open_.isReviewing(); }

  // The driver's answer to a patch.
  void answered(RequestId request, device::Status status) { open_.answer(request, status); }

  // The client leaves: its taps get no answer.
  void forget(ClientId client) { open_.forget(client); }

  // How many requests have no answer yet.
  std::size_t open() const { return open_.size(); }

  // Returns the later answers since the last call.
  std::vector<Answer> takeAnswers() { return open_.takeAnswers(); }

 private:
  std::optional<device::Status> state(const OpenRequests::Use& request);
  device::Status refuse(const OpenRequests::Tap& tap);
  device::Status refuse(const OpenRequests::Carried& carried);

  device::Driver& driver_;
  TapTable& taps_;
  SourceUse& use_;
  Connections connections_;
  OpenRequests open_;
};

}  // namespace service

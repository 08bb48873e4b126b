#include "platform/service/device_requests.h"

#include <cstddef>
#include <variant>

namespace service {
namespace {

// A request looks at the connections of a sink, which may be many.
constexpr std::size_t RequestsAtOnce = 100;

}  // namespace

std::optional<Reply> DeviceRequests::patch(bool made, const device::Link& link, device::Time now) {
  const RequestId request = open_.addPatch();
  if (!driver_.patch(request, made, link, now)) {
    open_.drop(request);
    return std::nullopt;
  }
  return open_.reply(request);
}

Reply DeviceRequests::use(const OpenRequests::Use& request) {
  const auto status = state(request);
  return status ? Reply{status} : Reply{std::nullopt, open_.add(request)};
}

bool DeviceRequests::settle(device::Time now) {
  bool did = use_.settle(SourcesAtOnce, now);
  if (use_.takeNews()) open_.review();
  if (!open_.isReviewing()) return did;
  open_.resolve([this](const OpenRequests::Use& request) { return state(request); }, RequestsAtOnce);
  // What is refused is no longer used. What that changes comes with the next call.
  use_.settle(SourcesAtOnce, now);
  return true;
}

// Returns the answer to a request, nullopt if it is not known yet. Ends what is refused.
std::optional<device::Status> DeviceRequests::state(const OpenRequests::Use& request) {
  const auto* tap = std::get_if<OpenRequests::Tap>(&request);
  const auto* carried = std::get_if<OpenRequests::Carried>(&request);
  const auto status = use_.state(tap != nullptr ? tap->port : carried->link.source());
  if (status != device::Status::Refused) return status;
  return tap != nullptr ? refuse(*tap) : refuse(*carried);
}

// A tap that stood before the request goes on to stand.
device::Status DeviceRequests::refuse(const OpenRequests::Tap& tap) {
  if (!tap.made) {
    return taps_.contains(tap.client, tap.eventPort, tap.port) ? device::Status::Ok : device::Status::Refused;
  }
  if (taps_.remove(tap.client, tap.eventPort, tap.port) && !taps_.isTapped(tap.port)) {
    use_.tapsChanged(tap.port, SourceUse::Turn::Next);
  }
  return device::Status::Refused;
}

device::Status DeviceRequests::refuse(const OpenRequests::Carried& carried) {
  const bool stands = connections_.isCarried(carried.link);
  if (!carried.made) return stands ? device::Status::Ok : device::Status::Refused;
  if (stands) connections_.disconnect(carried.link);
  return device::Status::Refused;
}

}  // namespace service

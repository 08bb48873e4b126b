#include "platform/client/connection.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

#include "platform/drivers/catalogue.h"
#include "platform/system/local_socket.h"
#include "platform/system/program_line.h"

namespace client {
namespace {

// The running services of this process, by the device part of their endpoint.
struct Running {
  std::mutex mutex;
  std::map<std::string, std::weak_ptr<host::EmbeddedService>, std::less<>> services;
};

Running& running() {
  // Never destroyed: managers may still be created and destroyed while the process ends.
  static auto* const instance = new Running;
  return *instance;
}

bool isSystem(std::string_view device) {
  const drivers::Entry* entry = drivers::find(device);
  return entry != nullptr && entry->isSystem;
}

// Returns the service on this device (see drivers::openDevice), or why there is none.
std::variant<Connection, ConnectionProblem> openEmbedded(const std::string& device) {
  try {
    // Locked while a service starts, so that two threads that open it at the same time share one.
    const std::lock_guard guard(running().mutex);
    auto& known = running().services[device];
    if (const auto service = known.lock()) return Connection(service);
    auto driver = drivers::openDevice(device);
    if (auto* problem = std::get_if<std::string>(&driver)) {
      return ConnectionProblem{std::move(*problem), isSystem(device)};
    }
    const auto warn = [device](std::string_view line) { sys::sayLine(endpointLine(embeddedEndpoint(device), line)); };
    const auto service = std::make_shared<host::EmbeddedService>(
        std::get<std::unique_ptr<device::Driver>>(std::move(driver)), host::Limits{}, warn);
    known = service;
    return Connection(service);
  } catch (const std::exception& failure) {
    return ConnectionProblem{failure.what()};
  }
}

std::variant<Connection, ConnectionProblem> openLocal(const LocalEndpoint& endpoint) {
  try {
    Connection connection(endpoint);
    const int cause = connection.whyUnreachable();
    if (cause == 0) return connection;
    const bool nobodyThere = cause == ENOENT || cause == ECONNREFUSED || cause == ENOTDIR;
    return ConnectionProblem{std::strerror(cause), nobodyThere};
  } catch (const std::exception& failure) {
    return ConnectionProblem{failure.what()};
  }
}

}  // namespace

Connection::Connection(const std::shared_ptr<host::EmbeddedService>& service)
    : context_(service, &service->context()), address_(service->address()) {}

Connection::Connection(const LocalEndpoint& endpoint)
    : context_(std::make_shared<zmq::context_t>()), address_("ipc://" + endpoint.path), socketPath_(endpoint.path) {}

int Connection::whyUnreachable() const { return mayReturn() ? sys::whyNobodyListens(socketPath_) : 0; }

std::variant<Connection, ConnectionProblem> openConnection(const std::string& endpoint, std::uint32_t behaviour) {
  const Endpoint parsed = parseEndpoint(endpoint, behaviour);
  if (const auto* none = std::get_if<NoEndpoint>(&parsed)) return ConnectionProblem{none->cause};
  if (const auto* local = std::get_if<LocalEndpoint>(&parsed)) return openLocal(*local);
  return openEmbedded(std::get<EmbeddedEndpoint>(parsed).device);
}

void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service) {
  const Endpoint parsed = parseEndpoint(endpoint, 0);
  const auto* embedded = std::get_if<EmbeddedEndpoint>(&parsed);
  if (embedded == nullptr) return;
  const std::lock_guard guard(running().mutex);
  running().services[embedded->device] = service;
}

}  // namespace client

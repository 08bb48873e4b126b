#include "platform/client/connection.h"

#include <exception>
#include <map>
#include <mutex>
#include <utility>

#include "platform/client/endpoint.h"

namespace client {
namespace {

// The running services of this process, by the file of their device.
struct Running {
  std::mutex mutex;
  std::map<std::string, std::weak_ptr<host::EmbeddedService>, std::less<>> services;
};

Running& running() {
  // Never destroyed, because managers may still come and go while the process ends.
  static auto* const instance = new Running;
  return *instance;
}

// The service on the device of this file, or the cause why there is none.
std::variant<Connection, std::string> openEmbedded(const std::string& file) {
  try {
    // Held while a service starts, so that two who come at once share one.
    const std::lock_guard guard(running().mutex);
    auto& known = running().services[file];
    if (const auto service = known.lock()) return Connection(service);
    auto device = host::openDevice(file);
    if (auto* problem = std::get_if<std::string>(&device)) return std::move(*problem);
    const auto service =
        std::make_shared<host::EmbeddedService>(std::get<std::unique_ptr<service::Driver>>(std::move(device)));
    known = service;
    return Connection(service);
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

}  // namespace

std::variant<Connection, std::string> openConnection(const std::string& endpoint, std::uint32_t behaviour) {
  const Endpoint parsed = parseEndpoint(endpoint, behaviour);
  if (const auto* none = std::get_if<NoEndpoint>(&parsed)) return problemLine(endpoint, none->cause);
  auto opened = openEmbedded(std::get<EmbeddedEndpoint>(parsed).file);
  if (const auto* cause = std::get_if<std::string>(&opened)) return problemLine(endpoint, *cause);
  return opened;
}

void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service) {
  const Endpoint parsed = parseEndpoint(endpoint, 0);
  const auto* embedded = std::get_if<EmbeddedEndpoint>(&parsed);
  if (embedded == nullptr) return;
  const std::lock_guard guard(running().mutex);
  running().services[embedded->file] = service;
}

}  // namespace client

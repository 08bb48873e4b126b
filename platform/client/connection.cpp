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
  static Running instance;
  return instance;
}

std::variant<Connection, std::string> openEmbedded(const std::string& endpoint, const std::string& file) {
  // Held while a service starts, so that two who come at once share one.
  const std::lock_guard guard(running().mutex);
  auto& known = running().services[file];
  if (auto service = known.lock()) return Connection(std::move(service));
  auto device = host::openDevice(file);
  if (auto* problem = std::get_if<std::string>(&device)) return std::move(*problem);
  try {
    auto service =
        std::make_shared<host::EmbeddedService>(std::get<std::unique_ptr<service::Driver>>(std::move(device)));
    known = service;
    return Connection(std::move(service));
  } catch (const std::exception& failure) {
    return "evtsrv: " + endpoint + ": " + failure.what();
  }
}

}  // namespace

std::variant<Connection, std::string> openConnection(const std::string& endpoint, std::uint32_t behaviour) {
  const Endpoint parsed = parseEndpoint(endpoint, behaviour);
  if (const auto* none = std::get_if<NoEndpoint>(&parsed)) return "evtsrv: " + endpoint + ": " + none->cause;
  return openEmbedded(endpoint.empty() ? "embedded:" : endpoint, std::get<EmbeddedEndpoint>(parsed).file);
}

void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service) {
  const Endpoint parsed = parseEndpoint(endpoint, 0);
  const auto* embedded = std::get_if<EmbeddedEndpoint>(&parsed);
  if (embedded == nullptr) return;
  const std::lock_guard guard(running().mutex);
  running().services[embedded->file] = service;
}

}  // namespace client

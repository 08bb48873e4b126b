#include "platform/reach/running_services.h"

#include <exception>
#include <map>
#include <mutex>
#include <utility>
#include <variant>

#include "platform/channel/address.h"
#include "platform/drivers/catalogue.h"
#include "platform/system/program_line.h"

namespace reach {
namespace {

// By device.
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

}  // namespace

channel::Connector connectorTo(const std::shared_ptr<host::EmbeddedService>& service) {
  return channel::Connector([service] { return service->connect(); });
}

channel::ConnectorOrProblem openEmbedded(const std::string& device) {
  try {
    // Locked while a service starts, so that two threads that open it at the same time share one.
    const std::lock_guard guard(running().mutex);
    auto& known = running().services[device];
    if (const auto service = known.lock()) return connectorTo(service);
    auto driver = drivers::openDevice(device);
    if (auto* problem = std::get_if<std::string>(&driver)) {
      return channel::ConnectProblem{std::move(*problem), isSystem(device)};
    }
    const std::string address = channel::Address{channel::Transport::Embedded, device}.text();
    const auto warn = [address](std::string_view line) { sys::sayLine(channel::addressLine(address, line)); };
    const auto service = std::make_shared<host::EmbeddedService>(
        std::get<std::unique_ptr<device::Driver>>(std::move(driver)), host::Settings{}, warn);
    known = service;
    return connectorTo(service);
  } catch (const std::exception& failure) {
    return channel::ConnectProblem{failure.what()};
  }
}

void shareService(const std::string& device, const std::shared_ptr<host::EmbeddedService>& service) {
  const std::lock_guard guard(running().mutex);
  running().services[device] = service;
}

}  // namespace reach

#include "platform/reach/service_search.h"

#include <utility>
#include <variant>

#include "platform/channel/address.h"
#include "platform/drivers/catalogue.h"
#include "platform/reach/running_services.h"
#include "platform/system/local_socket.h"

namespace reach {

using channel::Address;
using channel::ConnectProblem;
using channel::Transport;

std::vector<std::string> defaultAddresses() {
  std::vector<std::string> addresses{Address{Transport::Local, sys::wellKnownSocket()}.text()};
  const auto addEmbedded = [&](std::string_view device) {
    addresses.push_back(Address{Transport::Embedded, std::string(device)}.text());
  };
  for (const drivers::Entry& entry : drivers::catalogue()) {
    if (entry.isSystem) addEmbedded(entry.name);
  }
  addEmbedded({});
  return addresses;
}

channel::ConnectorOrProblem openAddress(const std::string& address, Network network) {
  auto parsed = channel::parseAddress(address);
  if (auto* cause = std::get_if<std::string>(&parsed)) return ConnectProblem{std::move(*cause)};
  const auto& [transport, place] = std::get<Address>(parsed);
  switch (transport) {
    case Transport::Embedded:
      return openEmbedded(place);
    case Transport::Local:
      return channel::reachLocalSocket(place);
    case Transport::Network:
      break;
  }
  if (network == Network::Refused) return ConnectProblem{"network services are disabled in this program"};
  return ConnectProblem{"network services are not supported"};
}

bool findService(const std::vector<std::string>& addresses, Network network, const TakeService& take,
                 const ReportProblem& report) {
  for (const std::string& address : addresses) {
    auto reached = openAddress(address, network);
    if (const auto* problem = std::get_if<ConnectProblem>(&reached)) {
      if (!problem->nobodyThere || &address == &addresses.back()) report(address, *problem);
      continue;
    }
    const auto cause = take(std::get<channel::Connector>(std::move(reached)), address);
    if (!cause) return true;
    report(address, {*cause});
  }
  return false;
}

}  // namespace reach

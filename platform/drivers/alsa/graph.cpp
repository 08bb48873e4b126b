#include "platform/drivers/alsa/graph.h"

namespace drivers::alsa {
namespace {

constexpr unsigned Emits = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
constexpr unsigned Accepts = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

bool hasAll(unsigned capabilities, unsigned wanted) { return (capabilities & wanted) == wanted; }

void readPort(const Client& own, const snd_seq_client_info_t& client, const snd_seq_port_info_t& port,
              ForeignClient& into, Graph& graph) {
  const unsigned capabilities = snd_seq_port_info_get_capability(&port);
  ForeignPort found;
  found.source = hasAll(capabilities, Emits);
  found.sink = hasAll(capabilities, Accepts);
  if ((capabilities & SND_SEQ_PORT_CAP_NO_EXPORT) != 0 || (!found.source && !found.sink)) return;
  const Address address{static_cast<std::uint8_t>(snd_seq_port_info_get_client(&port)),
                        static_cast<std::uint8_t>(snd_seq_port_info_get_port(&port))};
  const std::string name = snd_seq_port_info_get_name(&port);
  found.key = keyOf(address);
  found.name = nameOfPort(into.name, name);
  found.original = toText(address) + " " + name;
  if (found.source) {
    for (const Address receiver : receiversOf(own, address)) graph.subscriptions.push_back({address, receiver});
  }
  if (found.sink) {
    Receiver receiver{found.original, snd_seq_client_info_get_type(&client) == SND_SEQ_KERNEL_CLIENT};
    const int card = snd_seq_client_info_get_card(&client);
    if (receiver.kernel && card >= 0) {
      const bool hardware = (snd_seq_port_info_get_type(&port) & SND_SEQ_PORT_TYPE_HARDWARE) != 0;
      receiver.rawMidi = hardware ? placeOfHardwarePort(card, address.port) : placeOfVirtualPort(card, into.name);
    }
    graph.receivers.emplace(address, std::move(receiver));
  }
  into.ports.push_back(std::move(found));
}

}  // namespace

Graph readGraph(const Client& own) {
  Graph graph;
  snd_seq_client_info_t* client = nullptr;
  snd_seq_port_info_t* port = nullptr;
  snd_seq_client_info_alloca(&client);
  snd_seq_port_info_alloca(&port);
  // The kernel's own client has number 0, so the search begins after it.
  snd_seq_client_info_set_client(client, SND_SEQ_CLIENT_SYSTEM);
  while (snd_seq_query_next_client(own.handle(), client) >= 0) {
    if (isOwn(*client)) continue;
    const int number = snd_seq_client_info_get_client(client);
    ForeignClient found{static_cast<std::uint64_t>(number), snd_seq_client_info_get_name(client), {}};
    snd_seq_port_info_set_client(port, number);
    snd_seq_port_info_set_port(port, -1);
    while (snd_seq_query_next_port(own.handle(), port) >= 0) readPort(own, *client, *port, found, graph);
    if (!found.ports.empty()) graph.clients.push_back(std::move(found));
  }
  return graph;
}

std::vector<Address> receiversOf(const Client& own, Address sender) {
  std::vector<Address> found;
  snd_seq_query_subscribe_t* query = nullptr;
  snd_seq_query_subscribe_alloca(&query);
  const snd_seq_addr_t root{sender.client, sender.port};
  snd_seq_query_subscribe_set_root(query, &root);
  snd_seq_query_subscribe_set_type(query, SND_SEQ_QUERY_SUBS_READ);
  snd_seq_query_subscribe_set_index(query, 0);
  while (snd_seq_query_port_subscribers(own.handle(), query) >= 0) {
    const snd_seq_addr_t* receiver = snd_seq_query_subscribe_get_addr(query);
    found.push_back({receiver->client, receiver->port});
    snd_seq_query_subscribe_set_index(query, snd_seq_query_subscribe_get_index(query) + 1);
  }
  return found;
}

std::string nameOfPort(std::string_view client, std::string_view port) {
  if (port.starts_with(client)) return std::string(port);
  return std::string(client).append(":").append(port);
}

}  // namespace drivers::alsa

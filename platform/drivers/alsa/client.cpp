#include "platform/drivers/alsa/client.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <string_view>

namespace drivers::alsa {
namespace {

constexpr std::size_t MostClients = 256;

// The numbers of the Clients in this process: there may be more than one driver.
std::array<std::atomic<bool>, MostClients>& own() {
  static std::array<std::atomic<bool>, MostClients> numbers{};
  return numbers;
}

snd_seq_addr_t toAlsa(Address address) { return {address.client, address.port}; }

// Calls an ALSA function with the subscription in ALSA's form.
template <class Call>
int with(const Subscription& subscription, Call call) {
  snd_seq_port_subscribe_t* form = nullptr;
  snd_seq_port_subscribe_alloca(&form);
  const auto sender = toAlsa(subscription.sender);
  const auto receiver = toAlsa(subscription.receiver);
  snd_seq_port_subscribe_set_sender(form, &sender);
  snd_seq_port_subscribe_set_dest(form, &receiver);
  return call(form);
}

}  // namespace

std::string errorText(int code) { return snd_strerror(code); }

SequencerError::SequencerError(const std::string& what, int code) : std::runtime_error(what + ": " + errorText(code)) {}

Client::Client(const char* name) {
  if (const int code = snd_seq_open(&handle_, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK); code < 0) {
    throw SequencerError("cannot open the ALSA sequencer", code);
  }
  client_ = static_cast<std::uint8_t>(snd_seq_client_id(handle_));
  own().at(client_) = true;
  snd_seq_set_client_name(handle_, name);
}

Client::~Client() {
  // Before closing: once the number is free, the next client gets it.
  own().at(client_) = false;
  snd_seq_close(handle_);
}

int Client::descriptor() const {
  pollfd polled{};
  snd_seq_poll_descriptors(handle_, &polled, 1, POLLIN);
  return polled.fd;
}

Address Client::createPort(const char* name, unsigned capabilities) {
  const int port = snd_seq_create_simple_port(handle_, name, capabilities,
                                              SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
  if (port < 0) throw SequencerError("cannot create a port in the ALSA sequencer", port);
  return {client_, static_cast<std::uint8_t>(port)};
}

int Client::subscribe(const Subscription& subscription) const {
  return with(subscription, [&](auto* form) { return snd_seq_subscribe_port(handle_, form); });
}

int Client::unsubscribe(const Subscription& subscription) const {
  return with(subscription, [&](auto* form) { return snd_seq_unsubscribe_port(handle_, form); });
}

bool Client::stands(const Subscription& subscription) const {
  return with(subscription, [&](auto* form) { return snd_seq_get_port_subscription(handle_, form); }) == 0;
}

bool isOwn(const snd_seq_client_info_t& client) {
  return own().at(static_cast<std::uint8_t>(snd_seq_client_info_get_client(&client)));
}

}  // namespace drivers::alsa

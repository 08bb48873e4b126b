// Somebody else in the sequencer: a client with ports, events and subscriptions, as any program has.
#pragma once

#include <alsa/asoundlib.h>
#include <poll.h>

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/drivers/alsa/address.h"
#include "platform/midi/midi_bytes.h"

namespace drivers::alsa {

inline constexpr unsigned SourceCapabilities = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
inline constexpr unsigned SinkCapabilities = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

class Peer {
 public:
  explicit Peer(const std::string& name) {
    check(snd_seq_open(&handle_, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK));
    check(snd_seq_set_client_name(handle_, name.c_str()));
    client_ = static_cast<std::uint8_t>(snd_seq_client_id(handle_));
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() { snd_seq_close(handle_); }

  Address port(const char* name, unsigned capabilities) {
    const int port = snd_seq_create_simple_port(handle_, name, capabilities, SND_SEQ_PORT_TYPE_MIDI_GENERIC);
    check(port);
    return {client_, static_cast<std::uint8_t>(port)};
  }
  void removePort(Address port) { check(snd_seq_delete_simple_port(handle_, port.port)); }
  void setPool(std::size_t cells) { check(snd_seq_set_client_pool_input(handle_, cells)); }

  // To whoever is subscribed to the port. Answers false when somebody had no room.
  bool note(Address from, std::uint8_t channel, std::uint8_t note) {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_NOTEON;
    event.data.note = {channel, note, 100, 0, 0};
    return emit(from, event);
  }
  bool exclusive(Address from, std::span<const std::uint8_t> piece) {
    std::vector<std::uint8_t> bytes(piece.begin(), piece.end());
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_SYSEX;
    event.flags = SND_SEQ_EVENT_LENGTH_VARIABLE;
    event.data.ext.len = static_cast<unsigned>(bytes.size());
    event.data.ext.ptr = bytes.data();
    return emit(from, event);
  }
  bool emit(Address from, snd_seq_event_t& event) {
    event.source.port = from.port;
    event.dest.client = SND_SEQ_ADDRESS_SUBSCRIBERS;
    event.dest.port = SND_SEQ_ADDRESS_UNKNOWN;
    event.queue = SND_SEQ_QUEUE_DIRECT;
    return snd_seq_event_output_direct(handle_, &event) >= 0;
  }

  // What has arrived since, as bytes of MIDI; how often the kernel has dropped all that waited.
  std::vector<std::uint8_t> read(int* overflows = nullptr) {
    std::vector<std::uint8_t> bytes;
    snd_midi_event_t* decoder = nullptr;
    check(snd_midi_event_new(64, &decoder));
    snd_midi_event_no_status(decoder, 1);
    for (;;) {
      snd_seq_event_t* event = nullptr;
      const int code = snd_seq_event_input(handle_, &event);
      if (code == -ENOSPC && overflows != nullptr) ++*overflows;
      if (code == -ENOSPC) continue;
      if (code < 0) break;
      if (event->type == SND_SEQ_EVENT_SYSEX) {
        const auto* data = static_cast<const std::uint8_t*>(event->data.ext.ptr);
        bytes.insert(bytes.end(), data, data + event->data.ext.len);
        continue;
      }
      std::uint8_t message[64];
      const long size = snd_midi_event_decode(decoder, message, sizeof message, event);
      if (size > 0) bytes.insert(bytes.end(), message, message + size);
    }
    snd_midi_event_free(decoder);
    return bytes;
  }

  int subscribe(const Subscription& wanted) { return snd_seq_subscribe_port(handle_, Form(wanted).form); }
  int unsubscribe(const Subscription& wanted) { return snd_seq_unsubscribe_port(handle_, Form(wanted).form); }
  bool stands(const Subscription& wanted) { return snd_seq_get_port_subscription(handle_, Form(wanted).form) == 0; }

  static bool canBe() {
    snd_seq_t* handle = nullptr;
    if (snd_seq_open(&handle, "default", SND_SEQ_OPEN_DUPLEX, 0) < 0) return false;
    snd_seq_close(handle);
    return true;
  }

 private:
  struct Form {
    explicit Form(const Subscription& wanted) {
      snd_seq_port_subscribe_malloc(&form);
      const snd_seq_addr_t sender{wanted.sender.client, wanted.sender.port};
      const snd_seq_addr_t receiver{wanted.receiver.client, wanted.receiver.port};
      snd_seq_port_subscribe_set_sender(form, &sender);
      snd_seq_port_subscribe_set_dest(form, &receiver);
    }
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;
    ~Form() { snd_seq_port_subscribe_free(form); }
    snd_seq_port_subscribe_t* form = nullptr;
  };

  static void check(int code) {
    if (code < 0) throw std::runtime_error(snd_strerror(code));
  }

  snd_seq_t* handle_ = nullptr;
  std::uint8_t client_ = 0;
};

}  // namespace drivers::alsa

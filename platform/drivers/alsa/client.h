// Our clients of the ALSA sequencer.
#pragma once

#include <alsa/asoundlib.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "platform/drivers/alsa/address.h"

namespace drivers::alsa {

// A request that ALSA refused; code is its negative error number.
class SequencerError : public std::runtime_error {
 public:
  SequencerError(const std::string& what, int code);
};

// Returns the text for a negative error number.
std::string errorText(int code);

// Requests are thread-safe; only one thread at a time may read events. Reading and writing never block.
class Client {
 public:
  // Throws SequencerError.
  explicit Client(const char* name);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client();

  snd_seq_t* handle() const { return handle_; }

  // Readable when events have arrived.
  int descriptor() const;

  // Creates a port with these capabilities. Throws SequencerError.
  Address createPort(const char* name, unsigned capabilities);

  // Makes or ends a subscription. Returns 0 or a negative error number; -EBUSY if the subscription exists already, or
  // if an exclusive subscription of a port rules it out.
  int subscribe(const Subscription& subscription) const;
  int unsubscribe(const Subscription& subscription) const;

  bool stands(const Subscription& subscription) const;

 private:
  snd_seq_t* handle_ = nullptr;
  std::uint8_t client_ = 0;
};

// True for a client that a driver in this process opened as a Client.
bool isOwn(const snd_seq_client_info_t& client);

}  // namespace drivers::alsa

// Messages that wait to be sent to one port of the sequencer.
#pragma once

#include <alsa/asoundlib.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "platform/drivers/alsa/client.h"
#include "platform/drivers/alsa/graph.h"

namespace drivers::alsa {

// Converts the bytes of one message, other than system exclusive, to an event of the sequencer.
class EventEncoder {
 public:
  // Throws std::bad_alloc.
  EventEncoder();

  // Returns false if there is no such event.
  bool encode(std::span<const std::uint8_t> message, snd_seq_event_t& event);

 private:
  struct Free {
    void operator()(snd_midi_event_t* encoder) const { snd_midi_event_free(encoder); }
  };
  std::unique_ptr<snd_midi_event_t, Free> encoder_;
};

// Messages in order, and how much of the first one has been sent. A system exclusive message is sent in pieces, each
// when the receiver has room for it.
class SinkQueue {
 public:
  enum class Progress : std::uint8_t {
    Done,     // nothing waits any more
    More,     // more can be sent at once
    Full,     // the receiver has no room
    Gone,     // the port does not exist; messages still wait
    Refused,  // the sequencer refused the first message, which is dropped: see code()
  };

  // from: our port that sends.
  SinkQueue(Address from, Address to, Receiver receiver);

  void add(std::vector<std::uint8_t> message);

  // Sends until it cannot go on, a bounded number of events.
  Progress send(const Client& client, EventEncoder& encoder);

  // Drops all messages.
  void clear();

  // Call this if the port may have been removed and added again.
  void reopen() { opened_ = false; }

  const Receiver& receiver() const { return receiver_; }
  std::size_t messages() const { return waiting_.size(); }

  // Bytes that are still to be sent.
  std::size_t bytes() const { return bytes_ - sent_; }

  int code() const { return code_; }

 private:
  struct Room {
    int cells = 0;          // free cells
    std::size_t bytes = 0;  // of data that one event may have, or that fit into a device's buffer
  };

  Room room(const Client& client) const;
  Progress sendPiece(const Client& client, EventEncoder& encoder);
  Progress refuse(int code);
  void dropFirst();

  Address from_;
  Address to_;
  Receiver receiver_;
  bool opened_ = false;  // subscribed to the raw MIDI device, which takes nothing before that
  std::deque<std::vector<std::uint8_t>> waiting_;
  std::size_t sent_ = 0;  // bytes of the first message
  std::size_t bytes_ = 0;
  int code_ = 0;
};

}  // namespace drivers::alsa

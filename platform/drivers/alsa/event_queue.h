// Events from the sequencer that wait for the service.
#pragma once

#include <alsa/asoundlib.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "platform/drivers/alsa/address.h"

namespace drivers::alsa {

struct QueuedEvent {
  enum class Kind : std::uint8_t {
    Event,
    Lost,     // messages of the source are missing here: the queue had no room
    Overflow  // events of any source are missing here: the kernel dropped what waited in it
  };
  Kind kind = Kind::Event;
  Address source{};
  snd_seq_event_t event{};           // do not use its data pointer
  std::vector<std::uint8_t> data{};  // if the event has variable length
  std::uint64_t lost = 0;            // messages
  bool cut = false;                  // Lost: a system exclusive message that has begun is not continued
};

// A queue bounded in bytes, for one thread that adds and one that takes.
class EventQueue {
 public:
  explicit EventQueue(std::size_t mostBytes) : mostBytes_(mostBytes) {}

  // Copies the event and its data during the call. If there is no room, the message counts as lost. A system exclusive
  // message counts once, and its remaining pieces are dropped too.
  void add(const snd_seq_event_t& event);

  void addOverflow();

  // Removes and returns everything, oldest first; what has been lost since the last event is at the end.
  std::vector<QueuedEvent> take();

 private:
  struct Losses {
    std::uint64_t lost = 0;
    bool cut = false;
  };

  void pushLosses();

  const std::size_t mostBytes_;
  std::mutex mutex_;
  std::vector<QueuedEvent> events_;
  std::size_t bytes_ = 0;
  std::map<Address, Losses> losses_;
  std::set<Address> cutting_;  // sources whose system exclusive message is being dropped
  bool overflow_ = false;
};

}  // namespace drivers::alsa

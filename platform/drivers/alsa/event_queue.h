// What has arrived from the sequencer and waits for the service.
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
    Lost,     // here messages of the source have been dropped, for want of room in the queue
    Overflow  // here the kernel has dropped what waited in it, of any source
  };
  Kind kind = Kind::Event;
  Address source{};
  snd_seq_event_t event{};           // its pointer to data is not to be used
  std::vector<std::uint8_t> data{};  // of an event of variable length
  std::uint64_t lost = 0;            // messages
  bool cut = false;                  // Lost: a system exclusive message that had begun goes no further
};

// Bounded in bytes. For one thread that adds and another one that takes.
class EventQueue {
 public:
  explicit EventQueue(std::size_t mostBytes) : mostBytes_(mostBytes) {}

  // Takes a copy; the event's data is read during the call. Without room the message is counted as lost, once however
  // many pieces a system exclusive one has: all that follow of it are dropped too.
  void add(const snd_seq_event_t& event);

  void addOverflow();

  // Everything, oldest first; what has been lost since stands at its end.
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

// Losses at one place of a stream of events.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/wire/events.h"

namespace service {

// Losses of several kinds, each of which becomes an entry of its own, so that counts stay exact.
struct Losses {
  std::uint64_t dropped = 0;
  std::uint64_t before = 0;  // lost before reaching the service
  bool uncounted = false;    // an unknown number of messages, perhaps none, was lost before reaching the service

  std::size_t kinds() const { return (dropped > 0 ? 1U : 0U) + (before > 0 ? 1U : 0U) + (uncounted ? 1U : 0U); }

  Losses& operator+=(const Losses& other) {
    dropped += other.dropped;
    before += other.before;
    uncounted |= other.uncounted;
    return *this;
  }

  // Removes the losses of one kind, and returns them as an entry; nullopt if there is none left.
  std::optional<wire::EventEntry> take() {
    wire::EventEntry entry;
    if (dropped > 0) {
      entry.lost = dropped;
      dropped = 0;
    } else if (before > 0) {
      entry.lostBefore = before;
      before = 0;
    } else if (uncounted) {
      entry.lostBefore = 0;
      uncounted = false;
    } else {
      return std::nullopt;
    }
    return entry;
  }
};

}  // namespace service

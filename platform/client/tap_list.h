// The taps that a client wants, whatever becomes of its service.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace client {

struct WantedTap {
  std::uint32_t port = 0;  // of the client
  std::string name;        // of the device's port
  std::uint32_t holderBytes = 0;
  bool isMissing = false;  // the service has no such port yet since it came back
};

// In the order of tapping, which is the order in which a message is sent through several ports.
class TapList {
 public:
  // For one that has just been made. A tap that stands already stays as it is.
  void add(WantedTap tap) {
    const auto known =
        std::ranges::find_if(taps_, [&](const WantedTap& one) { return one.port == tap.port && one.name == tap.name; });
    if (known == taps_.end()) {
      taps_.push_back(std::move(tap));
    } else {
      known->isMissing = false;
    }
  }
  bool contains(std::uint32_t port, std::string_view name) const {
    return std::ranges::any_of(taps_, [&](const WantedTap& tap) { return tap.port == port && tap.name == name; });
  }
  void remove(std::uint32_t port, std::string_view name) {
    std::erase_if(taps_, [&](const WantedTap& tap) { return tap.port == port && tap.name == name; });
  }
  void removeAll(std::uint32_t port) {
    std::erase_if(taps_, [&](const WantedTap& tap) { return tap.port == port; });
  }

  // Valid until the next change.
  std::span<WantedTap> all() { return taps_; }

 private:
  std::vector<WantedTap> taps_;
};

}  // namespace client

// Groups and ports that were added after the consoles of this process listed the device.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "platform/device/port.h"
#include "platform/wire/messages.h"

namespace channel {

// Compares, by name, the groups and ports of a device with those that consoles of this process list. A new one is
// reported once, and once more when it goes and comes back. One that comes and goes between two looks is not reported.
class Arrivals {
 public:
  // A console lists these from now on.
  void list(const wire::Topology& topology);

  // True once list() has been called.
  bool isListed() const { return isListed_; }

  // The device has this topology now. Returns the line that reports what is new; nullopt if nothing is new.
  std::optional<std::string> look(const wire::Topology& now);

 private:
  // Names of ports on one side of a group.
  class Names {
   public:
    void add(const std::string& name) { names_.insert(name); }
    // prefix and number, from 1 to count.
    void add(const std::string& prefix, std::uint32_t count);
    bool contains(std::string_view name) const;
    // How many of this prefix were added together, at most.
    std::uint32_t numbered(const std::string& prefix) const;
    bool empty() const { return names_.empty() && numbered_.empty(); }

   private:
    std::unordered_set<std::string> names_;
    std::map<std::string, std::uint32_t, std::less<>> numbered_;  // prefix and count; written out they may be thousands
  };
  struct PortNames {
    Names sources;
    Names sinks;
    Names& side(bool sink) { return sink ? sinks : sources; }
    const Names& side(bool sink) const { return sink ? sinks : sources; }
    bool empty() const { return sources.empty() && sinks.empty(); }
  };
  using Groups = std::unordered_map<std::string, PortNames>;

  bool isListed_ = false;
  Groups listed_;
  Groups told_;  // those that are there, but not listed
};

// When to ask the service whether something was added. A program that connects adds its ports one after the other, so
// the question waits a moment; and there is at most one a second.
class ArrivalTimer {
 public:
  // Something may have been added.
  void news(device::Time now);

  bool isDue(device::Time now) const { return due_ && *due_ <= now; }

  // Nobody wants to know.
  void drop() { due_.reset(); }

  // The service was asked. Without an answer, it is asked again.
  void asked(bool answered, device::Time now);

 private:
  std::optional<device::Time> due_;
  device::Time earliest_{0};
};

}  // namespace channel

// A driver of the real sequencer under test, and what it has told.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/device/driver.h"
#include "platform/drivers/alsa/driver.h"

namespace drivers::alsa {

inline device::Time clockNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

class DriverRun : public device::DriverEvents {
 public:
  DriverRun() {
    auto opened = openAlsa();
    if (auto* problem = std::get_if<std::string>(&opened)) throw std::runtime_error(*problem);
    driver = std::move(std::get<std::unique_ptr<device::Driver>>(opened));
    descriptor_ = driver->start(*this, clockNow()).descriptor;
  }

  // Serves the driver like the service until it is so; false when that does not come.
  bool until(const std::function<bool()>& reached) {
    const device::Time end = clockNow() + std::chrono::seconds(30);
    while (!reached()) {
      const device::Time now = clockNow();
      if (now > end) return false;
      const auto next = driver->advance(now);
      if (reached()) break;
      device::Time wait = std::chrono::milliseconds(20);
      if (next) wait = std::min(wait, *next - now);
      pollfd polled{descriptor_, POLLIN, 0};
      const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
      poll(&polled, 1, static_cast<int>(std::max<std::int64_t>(milliseconds, 0)));
    }
    return true;
  }

  // The port of this name; waits for it.
  device::PortId place(const std::string& name) {
    EXPECT_TRUE(until([&] { return driver->topology().port(name).has_value(); })) << name;
    return driver->topology().port(name).value_or(device::PortId{});
  }

  device::Link link(const std::string& source, const std::string& sink) {
    const device::PortId from = place(source);
    const device::PortId to = place(sink);
    return {from.group, from.index, to.group, to.index};
  }

  // The kernel answers at once.
  std::optional<device::Status> patch(bool made, const device::Link& link) {
    answer.reset();
    EXPECT_TRUE(driver->patch({}, made, link, clockNow()));
    return answer;
  }

  std::string text(const device::Link& link) const {
    return driver->topology().name(link.source()) + ">" + driver->topology().name(link.sink());
  }

  void emitted(device::PortId source, const device::Message& message, device::Time /*now*/) override {
    messages.push_back({source, message.group, {message.bytes.begin(), message.bytes.end()}});
    ++seen;
  }
  void linked(const device::Link& link, device::Time /*now*/) override { links.push_back("+" + text(link)); }
  void unlinked(const device::Link& link, device::Time /*now*/) override { links.push_back("-" + text(link)); }
  void topologyChanged(device::Time /*now*/) override { changedAfter.push_back(messages.size()); }
  void lost(device::PortId /*source*/, std::uint64_t count, device::Time /*now*/) override {
    known += count;
    if (count == 0) ++unknown;
  }
  void patched(device::RequestId /*request*/, device::Status status, device::Time /*now*/) override { answer = status; }
  void used(device::PortId source, device::Status status, device::Time /*now*/) override {
    uses.push_back(driver->topology().name(source) + (status == device::Status::Ok ? " ok" : " refused"));
  }
  void noted(std::string_view line) override { notes.emplace_back(line); }
  void warned(std::string_view line) override { notes.emplace_back(line); }

  struct Told {
    device::PortId source;
    std::uint16_t group = 0;
    std::vector<std::uint8_t> bytes;
  };

  std::unique_ptr<device::Driver> driver;
  std::vector<Told> messages;
  std::vector<std::string> links;
  std::vector<std::size_t> changedAfter;  // how many messages had come before each change of the topology
  std::vector<std::string> notes;
  std::vector<std::string> uses;         // SOURCE STATUS
  std::optional<device::Status> answer;  // to the last patch
  std::size_t seen = 0;
  std::uint64_t known = 0;  // lost
  int unknown = 0;          // losses whose number the kernel has not said

 private:
  int descriptor_ = -1;
};

}  // namespace drivers::alsa

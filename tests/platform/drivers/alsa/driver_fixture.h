// Tests of the driver against the real sequencer, with clients of the test's own at the other end. They are skipped
// where there is none; tests/vm/cases/alsa_driver_tests runs them where there is one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tests/platform/drivers/alsa/driver_run.h"
#include "tests/platform/drivers/alsa/peer.h"

namespace drivers::alsa {

class AlsaDriverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!Peer::canBe()) GTEST_SKIP() << "no ALSA sequencer (/dev/snd/seq)";
    run.emplace();
  }

  device::Driver& driver() { return *run->driver; }

  std::string nameAt(device::PortId port) { return driver().topology().name(port); }

  std::optional<std::string> originalOf(const std::string& name) {
    const auto port = driver().topology().port(name);
    if (!port) return std::nullopt;
    return driver().topology().find(port->group)->side(port->side)->originals.at(port->index);
  }

  void use(const std::string& source) { driver().setUsed(run->place(source), true, clockNow()); }

  // Has the driver work until all that has been emitted must have been told.
  void settle(Peer& peer, Address from) {
    const std::size_t before = run->messages.size();
    ASSERT_TRUE(peer.note(from, 15, 127));
    ASSERT_TRUE(run->until([&] {
      return std::any_of(run->messages.begin() + static_cast<std::ptrdiff_t>(before), run->messages.end(),
                         [](const auto& told) { return told.group == 15; });
    }));
    run->messages.pop_back();
  }

  std::optional<DriverRun> run;
};

// A system exclusive message of this size.
inline std::vector<std::uint8_t> exclusiveOf(std::size_t size, std::uint8_t seed = 1) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<std::uint8_t>((at * 7 + at / 251 + seed) % 128);
  bytes.front() = midi::SystemExclusive;
  bytes.back() = midi::EndOfExclusive;
  return bytes;
}

}  // namespace drivers::alsa

// Messages between the driver and a client of JACK's, on a server of their own.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/platform/drivers/jack/server/driven.h"
#include "tests/platform/drivers/jack/server/jack_peer.h"
#include "tests/platform/drivers/jack/server/jack_server.h"
#include "tests/support/sanitizer.h"

namespace drivers::jack {

// Three bytes that tell the number, below 2 to the power of 18.
inline JackEvent numbered(unsigned number) {
  return {static_cast<std::uint8_t>(0xE0U | (number >> 14U & 0x0FU)), static_cast<std::uint8_t>(number & 0x7FU),
          static_cast<std::uint8_t>(number >> 7U & 0x7FU)};
}

inline std::vector<JackEvent> flood(unsigned count) {
  std::vector<JackEvent> events;
  for (unsigned number = 0; number < count; ++number) events.push_back(numbered(number));
  return events;
}

inline JackEvent longExclusive(std::size_t size) {
  JackEvent event(size);
  for (std::size_t at = 0; at < size; ++at) event[at] = static_cast<std::uint8_t>(at * 31 % 127);
  event.front() = 0xF0;
  event.back() = 0xF7;
  return event;
}

inline JackEvent joined(const std::vector<JackEvent>& events) {
  JackEvent all;
  for (const JackEvent& event : events) all.insert(all.end(), event.begin(), event.end());
  return all;
}

// Three bytes each, as messages have them.
inline JackEvent withoutChannels(JackEvent events) {
  for (std::size_t at = 0; at < events.size(); at += 3) events[at] &= 0xF0U;
  return events;
}

// With a sanitizer the tests' own client is late in most periods.
inline constexpr int Turns = testsupport::Sanitized ? 4 : 15;

class JackMessages : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
    server.emplace();
    peer.emplace("peer", std::vector<std::string>{"out", "out2", "out3", "out4"},
                 std::vector<std::string>{"in", "in2"});
    driven.emplace();
  }

  // JACK goes on without a client that is late, and loses or repeats a period for it; on a busy machine some are. So
  // what does not work is tried again if somebody was late meanwhile, and only then.
  void tryUndisturbed(const std::function<bool()>& works) {
    for (int turn = 0; turn < Turns; ++turn) {
      const std::uint32_t before = peer->late();
      driven->forget();
      peer->arrived("in");
      if (works()) return;
      driven->runFor(std::chrono::milliseconds(100));
      ASSERT_TRUE(driven->wasLate() || peer->late() > before) << "it does not work, though nobody was late";
    }
    GTEST_SKIP() << "some client of JACK's was late each time";
  }

  std::optional<JackServer> server;
  std::optional<JackPeer> peer;
  std::optional<Driven> driven;
};

}  // namespace drivers::jack

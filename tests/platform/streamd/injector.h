// Messages with numbers, passed through a port of a service, and what the service says of its clients.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"

namespace streamd {

// The note on with this number; numbers below 2^30 have notes that differ.
inline wire::InjectItem numberedNote(std::uint32_t number) {
  const auto seven = [number](unsigned shift) { return static_cast<std::uint8_t>(number >> shift & 0x7FU); };
  return {static_cast<std::uint16_t>(number >> 14U), {0x90, seven(0), seven(7)}};
}

// The raw line that a console prints for it, without the line end.
inline std::string rawLine(std::uint32_t number) {
  const wire::InjectItem note = numberedNote(number);
  std::array<char, 64> text{};
  const int size = std::snprintf(text.data(), text.size(), "0x%02X 0x%02X 0x%02X 0x%02X", unsigned{note.bytes[0]},
                                 unsigned{note.bytes[1]}, unsigned{note.bytes[2]}, unsigned{note.group});
  return {text.data(), static_cast<std::size_t>(size)};
}

// The text of a client's RecordingPort for it.
inline std::string received(const std::string& port, std::uint32_t number) {
  const wire::InjectItem note = numberedNote(number);
  return port + ": " + std::to_string(note.bytes[1]) + ' ' + std::to_string(note.bytes[2]) + ' ' +
         std::to_string(note.group);
}

inline std::vector<std::string> receivedFromTo(const std::string& port, std::uint32_t from, std::uint32_t to) {
  std::vector<std::string> texts;
  for (std::uint32_t number = from; number < to; ++number) texts.push_back(received(port, number));
  return texts;
}

class Injector {
 public:
  explicit Injector(const std::string& socket)
      : connector_(channel::Connector::toLocalSocket(socket)), control_(connector_) {
    EXPECT_TRUE(control_.greet(channel::Deadline(channel::AnswerTime)));
  }

  // Passes the notes with the next count numbers through the port, and waits until the service has taken them.
  void inject(const std::string& port, std::uint32_t count) {
    constexpr std::uint32_t AtOnce = 100;
    while (count > 0) {
      std::vector<wire::InjectItem> items;
      for (; count > 0 && items.size() < AtOnce; --count) items.push_back(numberedNote(next_++));
      ASSERT_TRUE(control_.inject(port, std::move(items)));
    }
    ASSERT_TRUE(control_.finish());
  }

  wire::Stats stats() {
    auto stats = control_.ask<wire::Stats>(wire::AskStats{control_.session()});
    EXPECT_TRUE(stats) << "the service answers";
    return std::move(stats).value_or(wire::Stats{});
  }

  channel::ControlChannel& control() { return control_; }

 private:
  channel::Connector connector_;
  channel::ControlChannel control_;
  std::uint32_t next_ = 0;
};

}  // namespace streamd

// Attacks with what is no message.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <thread>

#include "platform/channel/frames.h"
#include "tests/support/attacker/attacks.h"
#include "tests/support/attacker/connections.h"

namespace attacker {
namespace {

using namespace std::chrono_literals;

// The connections that stay open.
constexpr std::size_t Many = 200;

// The front of a frame.
Buffer announced(std::size_t length) {
  Buffer front;
  for (std::size_t shift = 0; shift < channel::FrameFrontBytes * 8; shift += 8) {
    front.push_back(static_cast<std::uint8_t>(length >> shift));
  }
  return front;
}

Bytes firstHalf(const Buffer& bytes) { return Bytes(bytes).first(bytes.size() / 2); }

Buffer somethingBad(Random& random) {
  Buffer bytes = random.bytes(1 + random.below(4000));
  switch (random.below(4)) {
    case 0:
      return bytes;
    case 1: {
      Buffer frame;
      channel::appendFrame(bytes, frame);
      return frame;
    }
    case 2: {
      // A good message with a bad place.
      Buffer frame = frameOf(1, wire::Inject{Session{}, "MidiDinOut1", {{0, {0x90, 1, 1}}, {0, {0xF8}}}});
      frame[channel::FrameFrontBytes + random.below(frame.size() - channel::FrameFrontBytes)] = bytes[0];
      return frame;
    }
    default: {
      // The front of a message of some kind.
      const Buffer hello = wire::encode(1, wire::Hello{});
      bytes.insert(bytes.begin(), hello.begin(), hello.begin() + 8);
      bytes[2] = static_cast<std::uint8_t>(random.below(16));
      bytes[3] = static_cast<std::uint8_t>(random.below(6));
      Buffer frame;
      channel::appendFrame(bytes, frame);
      return frame;
    }
  }
}

}  // namespace

std::string garbage(const Target& target) {
  Connections connections(target);
  Random random;
  std::uint64_t pieces = 0;
  while (!connections.end().passed()) {
    auto stream = connections.make();
    if (stream.open() && random.below(2) == 0) stream.greet(connections.end().atMost(Patience));
    for (std::size_t left = 1 + random.below(20); left > 0 && stream.open(); --left) {
      if (stream.writeAll(somethingBad(random), connections.end().atMost(Patience))) ++pieces;
      stream.read();
    }
    if (!stream.open()) ++connections.closed;
  }
  return text(pieces, " pieces on ", connections.described());
}

std::string half(const Target& target) {
  Connections connections(target);
  std::deque<RawStream> kept;
  const Buffer hello = frameOf(1, wire::Hello{});
  const Buffer question = frameOf(2, wire::AskStats{});
  while (!connections.end().passed()) {
    if (auto* stream = connections.oneMore(kept, Many)) {
      switch (connections.made % 4) {
        case 0:
          stream->write(Bytes(hello).first(2));
          break;
        case 1:
          stream->write(Bytes(hello).first(channel::FrameFrontBytes));
          break;
        case 2:
          stream->write(firstHalf(hello));
          break;
        default:
          stream->write(hello);
          stream->write(firstHalf(question));
      }
    }
    std::this_thread::sleep_for(1ms);
  }
  return connections.described();
}

std::string endless(const Target& target) {
  constexpr std::size_t Most = 16U << 20U;
  Connections connections(target);
  std::deque<RawStream> kept;
  const Buffer piece(64U << 10U);
  std::uint64_t taken = 0;
  const auto pour = [&](RawStream& stream, std::size_t left) {
    while (left > 0 && stream.open()) {
      const auto bytes = Bytes(piece).first(std::min(left, piece.size()));
      if (!stream.writeAll(bytes, connections.end().atMost(Patience))) return;
      taken += bytes.size();
      left -= bytes.size();
    }
  };
  for (const std::size_t length : {channel::MaxFrameBytes + 1, std::size_t{0x7FFFFFFF}, std::size_t{0xFFFFFFFF}}) {
    auto stream = connections.make();
    stream.write(announced(length));
    pour(stream, Most);
    if (!stream.open()) ++connections.closed;
  }
  const std::uint64_t ofTooLong = taken;
  while (!connections.end().passed()) {
    if (auto* stream = connections.oneMore(kept, Many)) {
      stream->greet(connections.end().atMost(Patience));
      stream->write(announced(channel::MaxFrameBytes));
      pour(*stream, channel::MaxFrameBytes - 1);
    }
    std::this_thread::sleep_for(1ms);
  }
  return text(ofTooLong, " bytes of frames too long, ", taken - ofTooLong, " of frames without an end, on ",
              connections.described());
}

std::string drip(const Target& target) {
  constexpr std::size_t Slow = 20;
  Connections connections(target);
  std::deque<RawStream> kept;
  const Buffer hello = frameOf(1, wire::Hello{});
  const Buffer question = frameOf(2, wire::AskStats{});
  std::uint64_t bytes = 0;
  for (std::size_t at = 0; !connections.end().passed(); ++at) {
    while (kept.size() < Slow && !connections.end().passed()) {
      auto* stream = connections.oneMore(kept, Slow);
      if (stream != nullptr && connections.made % 2 == 0) stream->write(hello);
    }
    for (std::size_t i = 0; i < kept.size(); ++i) {
      const Buffer& frame = i % 2 == 0 ? question : hello;
      bytes += kept[i].write(Bytes(frame).subspan(at % frame.size(), 1));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(connections.end().atMost(1s).pollTimeout()));
  }
  return text(bytes, " bytes on ", connections.described());
}

}  // namespace attacker

// Messages on a stream of bytes: each is a frame, its length first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/device/limits.h"

namespace channel {

// The length of a frame: four bytes, little-endian. It does not count itself.
inline constexpr std::size_t FrameFrontBytes = 4;

// The longest message in either direction: a MIDI message of the longest kind and what surrounds it. A longer answer
// comes in pieces.
inline constexpr std::size_t MaxFrameBytes = device::MaxMessageBytes + 4096;

// More memory than this is not kept for a connection that may stay silent.
inline constexpr std::size_t KeptBytes = 64U << 10U;

// Appends the frame of a message.
void appendFrame(std::span<const std::uint8_t> message, std::vector<std::uint8_t>& out);

// Finds the frames in a stream that arrives in pieces of any size. Needs memory only for what has arrived and was not
// taken. Computes only.
class FrameReader {
 public:
  FrameReader() = default;

  // longest: the longest message that is accepted.
  explicit FrameReader(std::size_t longest) : longest_(longest) {}

  // The next bytes of the stream. Copies them.
  void feed(std::span<const std::uint8_t> bytes);

  // The message of the next frame; nullopt if it is not complete yet. Valid until the next call of feed or next.
  std::optional<std::span<const std::uint8_t>> next();

  // True if next returns a message.
  bool ready() const;

  // True if the next frame is too long: next returns nullopt from now on, and feed must not be called.
  bool broken() const;

  // The memory in use.
  std::size_t bytes() const { return buffer_.capacity(); }

  // Frees the memory that what has arrived does not need. Does nothing while a message that next has returned may be in
  // use: until it is called again and returns none.
  void trim();

 private:
  // Makes room for so many bytes more.
  void grow(std::size_t bytes);
  // All frames have been taken.
  void forgetTaken();
  // The length of the next frame's message; nullopt if it has not arrived.
  std::optional<std::size_t> nextLength() const;

  std::size_t longest_ = MaxFrameBytes;
  std::vector<std::uint8_t> buffer_;
  std::size_t taken_ = 0;  // bytes of buffer_ that belong to frames before
};

}  // namespace channel

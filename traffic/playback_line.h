// Reads a line of numbers as MIDI messages.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace flowscope {

// A message to send. bytes holds its status, as the stream carries it (no channel), and its values: two for notes, poly
// after, control change and pitch bend, three for program change, one for after touch. A system exclusive is complete,
// from 0xF0 to 0xF7.
struct PlaybackMessage {
  std::span<const std::uint8_t> bytes;
  std::uint16_t group = 0;
};

// Reads messages from the words of a line, one after another: a status, values, a group. This reads the raw form of the
// traffic, except for program changes, which have more values here, and real-time messages, which are read as an
// unterminated system exclusive. A word is a number in any form that the C library reads (decimal, hexadecimal,
// fractional), or 0 if it does not begin with a number; only its low bits count. A status below 0x80 is skipped; of any
// other status only the high four bits count. A message that the line does not contain completely is dropped, but a
// system exclusive may lack its group, which is then 0.
class PlaybackLine {
 public:
  // The text must outlive the reader.
  explicit PlaybackLine(std::string_view text) : rest_(text) {}

  // Returns the next message, valid until the next call; nullopt at the end of the line.
  std::optional<PlaybackMessage> next();

 private:
  std::optional<std::uint32_t> nextNumber();
  bool takeValues(std::size_t count);
  bool takeExclusive();

  std::string_view rest_;
  std::string word_;
  std::vector<std::uint8_t> bytes_;
};

// Returns the number that a word begins with, without its fraction and modulo 2 to the 32; 0 for infinity and for what
// is no number.
std::uint32_t playbackNumber(const std::string& word);

}  // namespace flowscope

// Formats messages as text: one line each, or pieces of one. A function that takes the line buffer replaces its content
// and returns a view of it, valid until the buffer changes again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "traffic/text_piece.h"

namespace flowscope {

// Labelled names the port, the kind and the fields. Raw is the message in hexadecimal, with the group as one more
// number.
enum class TextForm { Raw, Labelled };

// In the order of their status bytes: 0x80, 0x90 and so on.
enum class ChannelKind : std::uint8_t {
  NoteOff,
  NoteOn,
  PolyAfter,
  ControlChange,
  ProgramChange,
  AfterTouch,
  PitchBend
};

// A message of a fixed length. Program change and after touch have no second value.
struct ChannelMessage {
  ChannelKind kind;
  std::uint8_t first;
  std::uint8_t second;
  std::uint16_t group;
};

std::string_view formatChannelMessage(TextPiece& line, const ChannelMessage& message, std::string_view port,
                                      TextForm form);

std::string_view formatRealTime(TextPiece& line, std::uint8_t status, std::uint16_t group, std::string_view port,
                                TextForm form);

// Labelled only: error data has no raw form.
std::string_view formatErrorData(TextPiece& line, std::span<const std::uint8_t> bytes, std::string_view port);

// Messages of any length. The labelled form is a header, pieces for the bytes, and a trailer that ends the line. The
// header announces a meta event as system exclusive, and its bytes have no pieces.
enum class LongKind { SystemExclusive, SystemCommon, Meta };

std::string_view formatHeader(TextPiece& line, LongKind kind, std::string_view port, std::size_t length);
std::string_view formatByte(TextPiece& line, std::uint8_t byte);
std::string_view formatTrailer(TextPiece& line, LongKind kind, std::uint16_t group);

// Returns the raw form of such a message. If the message has bytes, the call ends the process with the C library's
// report of a buffer overflow and SIGABRT.
std::string formatRawLong(std::span<const std::uint8_t> bytes, std::uint16_t group);

}  // namespace flowscope

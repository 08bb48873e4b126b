// A Standard MIDI File brought into the plain form that libsmf reads without fault.
//
// libsmf 1.3 ends the process on an 0xF7 event, loses the rest of a track behind a meta event of 128 bytes or more or
// behind running status that spans a meta event, stops at a chunk that is no track, and takes what a chunk says about
// its size for granted. So a file is read here first, checked to the last byte, and written anew without any of this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/drivers/tempo_map.h"

namespace service {

// The same music, in a file of format 1: every event with its status byte, system exclusive messages whole in one event
// at the time of their last part, other escaped messages as events of their own, meta events empty except for the end
// of each track. Its own division and tempo mean nothing; those of the original stand beside it.
struct PlainSmf {
  std::vector<std::uint8_t> file;
  TimeBase base;
  std::vector<TempoChange> tempo;
};

// Why a file cannot be played, in one line, and where: offset in bytes from the start of the file.
struct SmfProblem {
  std::size_t offset = 0;
  std::string cause;
};

// Accepted are formats 0 and 1, with ticks per quarter note or per frame. Chunks of other kinds, bytes behind the end
// of a track and a missing end of track are no problem; running status holds across meta events. A channel or system
// message with a data byte above 0x7F, a system exclusive message that never ends or is longer than
// wire::MaxMessageBytes, and a file that is cut short are.
// Pure; never reads outside of file.
std::variant<PlainSmf, SmfProblem> makePlainSmf(std::span<const std::uint8_t> file);

}  // namespace service

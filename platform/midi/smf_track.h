// One track of a Standard MIDI File, checked and written anew (see smf_plain.h).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/midi/smf_bytes.h"
#include "platform/midi/smf_plain.h"

namespace service {

// Reads the events of a track and appends their plain form to out, the end of the track included, and its changes of
// tempo to tempo. Answers what is wrong, or nothing. For one track only.
class SmfTrack {
 public:
  SmfTrack(SmfReader in, std::vector<std::uint8_t>& out, std::vector<TempoChange>& tempo)
      : in_(in), out_(out), tempo_(tempo) {}

  std::optional<SmfProblem> rewrite();

 private:
  using Bytes = std::span<const std::uint8_t>;

  // These answer false when something is wrong, which then stands in problem_.
  bool event();
  bool meta();
  bool exclusivePart(bool first);
  bool escaped(SmfReader payload);
  bool message(std::uint8_t status, SmfReader& from);
  bool endExclusive();
  bool fail(std::size_t offset, std::string cause);

  void emit(Bytes bytes);
  void emitMeta(std::uint8_t type);

  SmfReader in_;
  std::vector<std::uint8_t>& out_;
  std::vector<TempoChange>& tempo_;
  std::optional<SmfProblem> problem_;
  std::uint32_t tick_ = 0;          // of the event that is being read
  std::uint32_t delta_ = 0;         // ticks since the last event that was written
  std::uint8_t runningStatus_ = 0;  // 0: none
  bool ended_ = false;
  bool inExclusive_ = false;  // a system exclusive message waits for its next part
  std::vector<std::uint8_t> exclusive_;
};

}  // namespace service

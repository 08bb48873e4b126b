// Makes one message of the pieces of a long answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/wire/messages.h"

namespace wire {

// Limits on a whole answer: what a client keeps of it, whatever the service sends. Entries are groups, listed names,
// connections and clients: twice as many connections as clients can make, and all ports of 42 groups of 16,384 ports a
// side.
inline constexpr std::size_t MaxAnswerBytes = 128U << 20U;
inline constexpr std::size_t MaxAnswerGroups = 1U << 16U;
inline constexpr std::size_t MaxAnswerEntries = (1U << 21U) + MaxAnswerGroups;

// False if another piece of the same answer follows this message.
bool isLast(const Body& message);

// Collects the messages that answer one request. Computes only.
class PieceJoiner {
 public:
  enum class Fault : std::uint8_t {
    None,
    TooLong,   // beyond the limits
    Unfitting  // the pieces do not continue one another, or names are missing at the end
  };

  // Begins with another answer.
  void clear() { *this = {}; }

  // Takes the next message, which had this many bytes. Returns the answer if it is complete; its part is then as in an
  // answer of one piece. Otherwise returns nullopt: another message has to follow, or fault says why the answer cannot
  // be used. Must not be called after a fault.
  std::optional<Body> add(Body message, std::size_t bytes);

  Fault fault() const { return fault_; }

 private:
  template <class Answer>
  std::optional<Body> addPiece(Answer& piece, std::size_t bytes);
  std::nullopt_t fail(Fault fault);

  std::optional<Body> whole_;  // of the pieces so far
  std::size_t bytes_ = 0;
  std::size_t entries_ = 0;
  std::size_t groups_ = 0;
  Fault fault_ = Fault::None;
};

}  // namespace wire

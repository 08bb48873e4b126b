// Reads an Inject message by message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace wire {

// An encoded Inject, which may carry 150,000 messages: read in place, so that it can be handled in pieces and costs no
// memory of its own. The bytes must outlive it.
class InjectFrame {
 public:
  // A message of the frame; a view of its bytes.
  struct Item {
    std::uint16_t group = 0;
    std::span<const std::uint8_t> bytes;
  };

  // Where the rest of a frame begins.
  struct Position {
    std::size_t offset = 0;   // of the next item
    std::uint32_t items = 0;  // still to read
  };

  // True if the bytes claim to be an Inject of this version. They may be malformed.
  static bool claims(std::span<const std::uint8_t> bytes);

  // Returns nullopt unless decode would return an Inject. Looks at each item once, without a copy.
  static std::optional<InjectFrame> open(std::span<const std::uint8_t> bytes);

  // Goes on where another reader of the same bytes has stopped. They are not checked again.
  InjectFrame(std::span<const std::uint8_t> bytes, Position position);

  std::uint32_t tag() const { return tag_; }
  std::uint64_t session() const { return session_; }
  std::string_view name() const { return name_; }

  // Returns the next item; nullopt at the end.
  std::optional<Item> next();

  Position position() const { return position_; }

 private:
  // Reads what stands before the items. Returns false if it is malformed.
  bool readFront();

  std::span<const std::uint8_t> bytes_;
  std::uint32_t tag_ = 0;
  std::uint64_t session_ = 0;
  std::string_view name_;
  Position position_;
};

}  // namespace wire

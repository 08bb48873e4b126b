// Reading and writing the numbers of a Standard MIDI File.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace service {

// A cursor over bytes. What cannot be read whole answers nothing and leaves the cursor where it was.
class SmfReader {
 public:
  // origin: the offset of the first byte in the file, for offset().
  explicit SmfReader(std::span<const std::uint8_t> bytes, std::size_t origin = 0) : bytes_(bytes), origin_(origin) {}

  bool atEnd() const { return next_ == bytes_.size(); }
  std::size_t left() const { return bytes_.size() - next_; }
  std::size_t offset() const { return origin_ + next_; }

  // The next byte, which must be there, without taking it.
  std::uint8_t peek() const { return bytes_[next_]; }

  // A number of count bytes (1 to 4), most significant first.
  std::optional<std::uint32_t> number(std::size_t count);

  // A number of one to four bytes with seven bits each; the last byte is below 0x80.
  std::optional<std::uint32_t> variable();

  // The next count bytes. They live as long as the bytes that are read.
  std::optional<std::span<const std::uint8_t>> take(std::size_t count);

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t origin_;
  std::size_t next_ = 0;
};

// Appends a number of count bytes, most significant first.
void appendNumber(std::vector<std::uint8_t>& out, std::uint32_t value, std::size_t count);

// Appends a number below 2^28 in as few bytes of seven bits as it needs.
void appendVariable(std::vector<std::uint8_t>& out, std::uint32_t value);

}  // namespace service

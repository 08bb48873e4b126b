// Reading the bytes and numbers of a Standard MIDI File.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

namespace midi {

// Why a file cannot be played, in one line, and where: offset in bytes from the start of the file.
struct SmfProblem : std::runtime_error {
  SmfProblem(std::size_t where, const std::string& cause) : std::runtime_error(cause), offset(where) {}
  std::size_t offset;
};

// A cursor over bytes, which must outlive it. Throws SmfProblem if too few bytes are left or a number is too long; the
// cursor then stays where it is.
class SmfReader {
 public:
  // name: what the bytes are, for messages, such as "the file"; lives as long as the cursor. offset: of the first byte
  // in the file.
  SmfReader(std::span<const std::uint8_t> bytes, const char* name, std::size_t offset = 0)
      : rest_(bytes), name_(name), offset_(offset) {}

  bool atEnd() const { return rest_.empty(); }
  std::size_t offset() const { return offset_; }

  // The bytes that are left.
  std::span<const std::uint8_t> rest() const { return rest_; }

  std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }

  // A number of count bytes (1 to 4), most significant first.
  std::uint32_t number(std::size_t count);

  // A number of one to four bytes with seven bits each; the last byte is below 0x80.
  std::uint32_t variable();

  // A cursor over the next count bytes, with this name; this cursor passes them.
  SmfReader take(std::size_t count, const char* name);

 private:
  std::span<const std::uint8_t> rest_;
  const char* name_;
  std::size_t offset_;
};

}  // namespace midi

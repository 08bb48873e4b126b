// Arbitrary playback lines: what is read is whole messages of the eight kinds, and what is written down of them is read
// back the same.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "traffic/playback_line.h"

namespace {

using namespace flowscope;

void require(bool met) {
  if (!met) std::abort();
}

struct Message {
  std::vector<std::uint8_t> bytes;
  std::uint16_t group;
  bool operator==(const Message&) const = default;
};

std::size_t lengthOf(std::uint8_t status) {
  switch (status) {
    case 0xC0:
      return 4;
    case 0xD0:
      return 2;
    default:
      return 3;
  }
}

void check(const Message& message) {
  const auto& bytes = message.bytes;
  require(!bytes.empty() && bytes[0] >= 0x80 && (bytes[0] & 0xFU) == 0);
  if (bytes[0] != 0xF0) {
    require(bytes.size() == lengthOf(bytes[0]));
    return;
  }
  require(bytes.size() >= 2 && bytes.back() == 0xF7);
  for (std::size_t i = 1; i + 1 < bytes.size(); ++i) require(bytes[i] != 0xF7);
}

std::vector<Message> read(std::string_view text) {
  std::vector<Message> messages;
  PlaybackLine line(text);
  while (const auto message = line.next()) {
    messages.push_back({{message->bytes.begin(), message->bytes.end()}, message->group});
  }
  require(!line.next());
  return messages;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const auto messages = read(text);
  std::string written;
  for (const Message& message : messages) {
    check(message);
    for (const std::uint8_t byte : message.bytes) written += std::to_string(byte) + ' ';
    written += std::to_string(message.group) + ' ';
  }
  require(read(written) == messages);
  return 0;
}

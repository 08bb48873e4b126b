// Arbitrary bytes as a stream of frames, whole and cut where the input says: the messages are the same, and so is what
// follows them. The first byte says how many pieces the cuts describe, a byte each; the rest is the stream.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/wire/messages.h"

namespace {

using Bytes = std::span<const std::uint8_t>;
using Messages = std::vector<std::vector<std::uint8_t>>;

void require(bool met) {
  if (!met) std::abort();
}

void take(channel::FrameReader& reader, Messages& messages) {
  const bool ready = reader.ready();
  const auto message = reader.next();
  require(ready == message.has_value());
  if (message) messages.emplace_back(message->begin(), message->end());
}

void takeAll(channel::FrameReader& reader, Messages& messages) {
  while (reader.ready()) take(reader, messages);
  take(reader, messages);
}

// A cut's low six bits are the size of a piece; the others say how many messages are taken after it: 3 means all.
Messages readInPieces(channel::FrameReader& reader, Bytes stream, Bytes cuts) {
  Messages messages;
  for (std::size_t turn = 0; !stream.empty() && !reader.broken(); ++turn) {
    const unsigned cut = cuts.empty() ? 0xC1U : cuts[turn % cuts.size()];
    const std::size_t size = std::min<std::size_t>(std::max(cut & 0x3FU, 1U), stream.size());
    reader.feed(stream.first(size));
    stream = stream.subspan(size);
    for (unsigned taken = 0; taken < cut >> 6U; ++taken) take(reader, messages);
    if (cut >> 6U == 3) takeAll(reader, messages);
  }
  takeAll(reader, messages);
  return messages;
}

void checkMessage(Bytes bytes) {
  if (const auto envelope = wire::decode(bytes)) {
    require(std::vector(bytes.begin(), bytes.end()) == wire::encode(envelope->tag, envelope->body));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t count = std::min<std::size_t>(data[0], size - 1);
  const Bytes cuts(data + 1, count);
  const Bytes stream(data + 1 + count, size - 1 - count);

  channel::FrameReader whole;
  whole.feed(stream);
  Messages messages;
  takeAll(whole, messages);

  channel::FrameReader pieces;
  require(readInPieces(pieces, stream, cuts) == messages);
  require(pieces.broken() == whole.broken());
  require(pieces.bytes() <= std::max<std::size_t>(2 * stream.size(), 256));

  std::vector<std::uint8_t> again;
  for (const auto& message : messages) {
    checkMessage(message);
    channel::appendFrame(message, again);
  }
  require(again.size() <= stream.size() && std::equal(again.begin(), again.end(), stream.begin()));
  return 0;
}

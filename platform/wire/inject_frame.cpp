#include "platform/wire/inject_frame.h"

#include "platform/device/limits.h"
#include "platform/wire/bytes.h"
#include "platform/wire/message_front.h"
#include "platform/wire/message_kinds.h"

namespace wire {
namespace {

// Reads one item; the reader fails if there is none, or if it is too long.
InjectFrame::Item readItem(ByteReader& from) {
  InjectFrame::Item item;
  item.group = from.number<std::uint16_t>();
  const std::size_t size = from.number<std::uint32_t>();
  if (size > device::MaxMessageBytes) from.fail();
  item.bytes = from.bytes(size);
  return item;
}

}  // namespace

bool InjectFrame::claims(std::span<const std::uint8_t> bytes) { return kindOf(bytes) == KindOf<Inject>; }

std::optional<InjectFrame> InjectFrame::open(std::span<const std::uint8_t> bytes) {
  if (!claims(bytes)) return std::nullopt;
  InjectFrame frame(bytes, {});
  if (!frame.readFront()) return std::nullopt;
  ByteReader items(bytes.subspan(frame.position_.offset));
  for (std::uint32_t i = 0; i < frame.position_.items && items.ok(); ++i) readItem(items);
  if (!items.ok() || items.left() != 0) return std::nullopt;
  return frame;
}

InjectFrame::InjectFrame(std::span<const std::uint8_t> bytes, Position position) : bytes_(bytes) {
  readFront();
  position_ = position;
}

bool InjectFrame::readFront() {
  ByteReader from(bytes_);
  from.bytes(HeaderBytes - sizeof(tag_));
  tag_ = from.number<std::uint32_t>();
  session_ = from.number<std::uint64_t>();
  const std::size_t size = from.number<std::uint16_t>();
  if (size > device::MaxNameBytes) from.fail();
  name_ = from.characters(size);
  position_.items = from.number<std::uint32_t>();
  position_.offset = bytes_.size() - from.left();
  return from.ok();
}

std::optional<InjectFrame::Item> InjectFrame::next() {
  if (position_.items == 0) return std::nullopt;
  ByteReader from(bytes_.subspan(position_.offset));
  const Item item = readItem(from);
  position_.offset = bytes_.size() - from.left();
  --position_.items;
  return item;
}

}  // namespace wire
